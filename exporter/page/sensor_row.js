// One sensor in the list: its state, what it is, its message, and its channels. Enter on its name opens the details.

import {channel_cell} from './channel_cell.js';
import {element, fill_facts, keyed_views, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {searchable_text} from './model.js';

const plain_messages = new Set(['', 'OK']); // say no more than the state does

export class sensor_row {
    #mark = state_mark();
    #state = element('span', 'word');
    #age = element('span', 'age');
    #name = element('button', 'name');
    #kind = element('span', 'kind');
    #server = element('span', 'server-of');
    #message = element('p', 'message');
    #channels = element('ul', 'channels');
    #facts = element('dl', 'facts of-sensor');
    #cells = new keyed_views(this.#channels, channel => channel.id, () => {
        this.curves_at = 0;
        return new channel_cell();
    });
    #opened = false;
    #texts = null;
    sensor = null;
    search_text = '';
    seen = false;  // on the screen, or close to it
    curves_at = 0; // Date.now() when the curves were fetched
    node = element(
        'li',
        'sensor',
        this.#mark,
        element(
            'div',
            'identity',
            element('h3', '', this.#name),
            element('p', 'state', this.#state, ' ', this.#age),
            element('p', 'origin', this.#server, ' ', this.#kind)
        ),
        element('div', 'body', this.#message, this.#channels, this.#facts)
    );

    constructor(id) {
        this.#name.type = 'button';
        this.#facts.id = `facts-${id}`;
        this.#channels.setAttribute('role', 'list');
        set_attribute(this.#name, 'aria-controls', this.#facts.id);
    }

    // @param now the probe's clock, seconds
    update(sensor, texts, now) {
        if (sensor !== this.sensor || texts !== this.#texts) {
            this.sensor = sensor;
            this.#texts = texts;
            this.search_text = searchable_text(sensor);
            this.#show(now);
        }
    }

    toggle(now) {
        this.#opened = !this.#opened;
        this.#show(now);
    }

    #show(now) {
        const {sensor} = this;
        const texts = this.#texts;
        set_attribute(this.node, 'data-state', sensor.state);
        this.node.classList.toggle('stale', sensor.stale);
        this.node.classList.toggle('opened', this.#opened);
        show_mark(this.#mark, sensor.state);
        set_text(this.#state, texts.get(`state.${sensor.state}`));
        set_text(this.#name, sensor.name);
        set_attribute(this.#name, 'aria-expanded', this.#opened);
        set_text(this.#kind, sensor.kind_name);
        set_text(this.#server, sensor.server);
        set_text(this.#message, sensor.message);
        this.#message.hidden = plain_messages.has(sensor.message);
        this.#cells.show(sensor.channels, (cell, channel) => cell.update(channel, texts, this.#opened));
        this.#channels.hidden = sensor.channels.length === 0;
        this.#facts.hidden = !this.#opened;
        this.show_age(now);
    }

    // Values of a sensor that fails are those of its last good scan, however old.
    show_age(now) {
        const {last_good, last_scan, stale, interval, kind, id} = this.sensor;
        const texts = this.#texts;
        const moment = time => (time === null ? texts.get('sensor.no_time') : texts.moment(time));
        const when = last_good === null ? texts.get('sensor.never') : texts.distance(last_good, now);
        set_text(this.#age, stale && last_good !== null ? texts.get('sensor.stale', {when}) : when);
        set_attribute(this.#age, 'title', texts.get('sensor.last_good_at', {when: moment(last_good)}));
        if (this.#opened) {
            fill_facts(this.#facts, [
                [texts.get('sensor.last_good'), moment(last_good)],
                [texts.get('sensor.last_scan'), moment(last_scan)],
                [texts.get('sensor.interval'), texts.time_part(interval, 'second')],
                [texts.get('sensor.kind'), kind],
                [texts.get('sensor.id'), String(id)],
            ]);
        }
    }

    // @param answer the channels' curves of this sensor
    // @param step seconds, @param end time of the newest step's end
    show_curves(answer, step, end) {
        for (const curve of answer.channels) {
            this.#cells.views.get(curve.id)?.show_curve(curve, step, end);
        }
    }
}
