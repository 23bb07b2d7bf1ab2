// The sensors: servers that are down, faults, and groups of what is well. They are arranged anew with each answer, but
// not while the reader points at them or works in them.

import {arrangement_of, size_of, without_gone} from './arrangement.js';
import {arrange, view_pool} from './dom.js';
import {is_filtered, matcher} from './filter.js';
import {group_view} from './group_view.js';
import {in_column, in_line, sensor_row} from './sensor_row.js';
import {stillness} from './stillness.js';

const reach = '300px';  // rows this close to the screen count as seen
const most_roomy = 100; // with more sensors, lines stand side by side, without curves

export class sensor_list {
    #parts;
    #now;
    #on_seen;
    #rows;
    #groups;
    #by_node = new WeakMap();
    #observer;
    #still;
    #arrangement = null;
    #dense = false;

    // @param parts {area, down, faults, groups}: an element and the lists in it
    // @param times since when channels are at fault
    // @param now () => the probe's clock, seconds
    // @param on {seen, only, still_end, fold}: called when rows came into view or left it, with a group's search when its
    // reader wants no other, when the reader turned away, and when a group was folded or unfolded
    constructor(parts, times, now, on) {
        [this.#parts, this.#now, this.#on_seen] = [parts, now, on.seen];
        this.#rows = new view_pool(id => this.#new_row(id, times));
        this.#groups = new view_pool(() => new group_view(this.#groups.views.size, on.fold, on.only));
        this.#observer = new IntersectionObserver(entries => this.#look(entries), {rootMargin: reach});
        this.#still = new stillness(parts.area, on.still_end);
        parts.area.addEventListener('click', event => {
            const row = event.target.closest('.name') && this.#by_node.get(event.target.closest('.sensor'));
            if (row) {
                row.toggle(now());
                this.#on_seen();
            }
        });
    }

    #new_row(id, times) {
        const row = new sensor_row(id, times);
        this.#by_node.set(row.node, row);
        this.#observer.observe(row.node);
        return row;
    }

    #look(entries) {
        for (const {target, isIntersecting} of entries) {
            const row = this.#by_node.get(target);
            row.seen = isIntersecting;
            if (row.seen && row.sensor) {
                row.refresh(this.#now());
                row.show_age(this.#now());
            }
        }
        this.#on_seen();
    }

    // Whether the order of before is kept for the reader's sake.
    get holds() {
        return this.#arrangement !== null && this.#still.holds;
    }

    // @param known the model, @param view what the reader wants to see, with the label to group by
    // @param anew whether the reader asked for another view: then nothing is kept
    // @return number of sensors shown
    update(known, view, texts, anew) {
        if (anew) {
            this.#still.release();
        }
        if (this.holds) {
            this.#arrangement = without_gone(this.#arrangement, known.sensors);
        } else {
            const filtered = is_filtered(view);
            const [sensors, wanted] = [known.sorted_sensors(texts), matcher(view)];
            const [{servers}, {label}, {compare}] = [known, view, texts];
            this.#arrangement = arrangement_of({sensors, servers, wanted, filtered, label, compare});
        }
        this.#dense = known.sensors.size > most_roomy;
        this.#parts.area.classList.toggle('dense', this.#dense);
        this.#rows.keep(known.sensors);
        this.#show(known, texts, view.search !== '');
        return size_of(this.#arrangement);
    }

    #show(known, texts, searched) {
        const now = this.#now();
        const {down, faults, groups} = this.#arrangement;
        const nodes = (ids, place_of) => ids.map((id, index) => {
            const row = this.#rows.get(id);
            row.update(known.sensors.get(id), place_of(index), texts, now);
            return row.node;
        });
        const group_node = group => {
            const view = this.#groups.get(group.key);
            const all = group.all.map(id => known.sensors.get(id));
            view.update(group, group.label ? undefined : known.server(group.key), all, texts, now, searched);
            arrange(view.list, nodes(group.ids, () => (this.#dense ? in_column : in_line)));
            return view.node;
        };
        this.#groups.keep(new Set([...down, ...groups].map(({key}) => key)));
        arrange(this.#parts.down, down.map(group_node));
        arrange(this.#parts.faults, nodes(faults.map(({id}) => id), index => faults[index]));
        arrange(this.#parts.groups, groups.map(group_node));
    }

    // @return rows in sight that show curves
    rows_with_curves() {
        return this.#rows_seen().filter(row => !this.#dense || row.opened || row.node.classList.contains('large'));
    }

    #rows_seen() {
        return [...this.#rows.views.values()].filter(row => row.seen && row.sensor);
    }

    show_ages() {
        this.#rows_seen().forEach(row => row.show_age(this.#now()));
    }

    // @param answer the curves of a sensor, @param step seconds, @param end time of the newest step's end
    show_curves(answer, step, end) {
        this.#rows.views.get(answer.id)?.show_curves(answer, step, end, this.#now());
    }
}
