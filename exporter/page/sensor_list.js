// The list of sensors: a row for each; those that match the search and the filter are shown.

import {keyed_views} from './dom.js';
import {matches} from './model.js';
import {sensor_row} from './sensor_row.js';

const reach = '300px'; // rows this close to the screen count as seen

export class sensor_list {
    #rows;
    #by_node = new WeakMap();
    #observer;
    #now;

    // @param on_seen called when rows came into view or left it
    // @param now () => the probe's clock, seconds
    constructor(list, on_seen, now) {
        this.#now = now;
        this.#rows = new keyed_views(list, sensor => sensor.id, id => this.#new_row(id));
        const watch = entries => {
            entries.forEach(entry => (this.#by_node.get(entry.target).seen = entry.isIntersecting));
            this.show_ages();
            on_seen();
        };
        this.#observer = new IntersectionObserver(watch, {rootMargin: reach});
        list.addEventListener('click', event => {
            const row = event.target.closest('.name') && this.#by_node.get(event.target.closest('.sensor'));
            row?.toggle(now());
        });
    }

    #new_row(id) {
        const row = new sensor_row(id);
        this.#by_node.set(row.node, row);
        this.#observer.observe(row.node);
        return row;
    }

    // @param sorted all sensors in their order
    update(sorted, texts) {
        this.#rows.show(sorted, (row, sensor) => row.update(sensor, texts, this.#now()));
    }

    // @return number of sensors shown
    filter(search, states) {
        let shown = 0;
        for (const row of this.#rows.views.values()) {
            const match = matches(row.search_text, row.sensor.state, search, states);
            row.node.hidden = !match;
            shown += match;
        }
        return shown;
    }

    rows_seen() {
        return [...this.#rows.views.values()].filter(row => row.seen);
    }

    show_ages() {
        this.rows_seen().forEach(row => row.show_age(this.#now()));
    }

    row(id) {
        return this.#rows.views.get(id);
    }
}
