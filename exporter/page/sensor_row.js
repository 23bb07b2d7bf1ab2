// One sensor in the list: a line when it is well, its fault first and large when it is not, and everything when it is
// opened. Enter on its name opens it.

import {channel_cell} from './channel_cell.js';
import {arrange, element, fill_facts, set_attribute, set_text, show_mark, state_mark, view_pool} from './dom.js';
import {since_line} from './since_line.js';

// Where a sensor that is well stands: in a line with all its channels, or in one of several columns with room for one.
export const in_line = {form: 'line', first: [], headline: null, most: Infinity};
export const in_column = {...in_line, most: 1};

export class sensor_row {
    #mark = state_mark();
    #name = element('button', 'name');
    #identity = element('div', 'identity', element('h4', '', this.#name));
    #parts = null; // all others, as soon as the row came into sight
    #cells = new view_pool(() => {
        this.curves_at = 0;
        return new channel_cell();
    });
    #texts = null;
    #times = null;
    #place = in_line;
    #outdated = true; // what is shown is not what is known
    opened = false;
    sensor = null;
    seen = false;  // on the screen, or close to it
    curves_at = 0; // Date.now() when the curves were fetched
    node = element('li', 'sensor', this.#mark, this.#identity);

    // @param times since when channels are at fault
    constructor(id, times) {
        this.#times = times;
        this.#name.type = 'button';
    }

    #make_parts() {
        const span = name => element('span', name);
        const list = name => element('ul', `channels ${name}`);
        const parts = {
            state: span('word'), age: span('age'), server: span('server-of'), kind: span('kind'),
            headline: element('p', 'headline'), since: new since_line(), first: list('first'), rest: list('rest'),
            message: element('p', 'message'), facts: element('dl', 'facts of-sensor'),
        };
        parts.facts.id = `facts-${this.sensor.id}`;
        set_attribute(this.#name, 'aria-controls', parts.facts.id);
        parts.first.setAttribute('role', 'list');
        parts.rest.setAttribute('role', 'list');
        this.#identity.append(element('p', 'origin', parts.server, ' ', parts.kind));
        this.node.append(
            element('p', 'state', parts.state, ' ', parts.age),
            element('div', 'fault', parts.headline, parts.since.node, parts.first),
            parts.rest,
            element('div', 'details', parts.message, parts.facts)
        );
        return parts;
    }

    // Takes in what is known; a row out of sight shows it when it comes into sight.
    // @param place {form: "line" or "large", first: ids of channels at fault, headline: text of another fault or null}
    update(sensor, place, texts, now) {
        if (sensor === this.sensor && place === this.#place && texts === this.#texts) {
            return;
        }
        [this.sensor, this.#place, this.#texts, this.#outdated] = [sensor, place, texts, true];
        const classes = ['sensor', place.form, sensor.stale && 'stale', this.opened && 'opened'];
        set_attribute(this.node, 'class', classes.filter(Boolean).join(' '));
        set_attribute(this.node, 'data-state', sensor.state);
        set_text(this.#name, sensor.name); // also for a search in the browser
        if (this.seen || place.form === 'large') {
            this.refresh(now);
        }
    }

    toggle(now) {
        this.opened = !this.opened;
        this.node.classList.toggle('opened', this.opened);
        this.#outdated = true;
        this.refresh(now);
    }

    refresh(now) {
        if (!this.#outdated) {
            return;
        }
        this.#outdated = false;
        const parts = (this.#parts ??= this.#make_parts());
        const {sensor} = this;
        const texts = this.#texts;
        const {headline} = this.#place;
        show_mark(this.#mark, sensor.state);
        set_text(parts.state, texts.get(`state.${sensor.state}`));
        set_attribute(this.#name, 'aria-expanded', this.opened);
        set_attribute(this.#name, 'title', sensor.name);
        set_text(parts.kind, sensor.kind_name);
        set_text(parts.server, sensor.server);
        set_text(parts.headline, headline ?? '');
        parts.headline.hidden = headline === null;
        set_text(parts.message, headline === null ? sensor.message : '');
        parts.message.hidden = parts.message.textContent === '';
        this.#show_channels(parts, now);
        parts.facts.hidden = !this.opened;
        this.#show_fault_age(now);
    }

    #show_channels(parts, now) {
        const {sensor, opened} = this;
        const {first, most} = this.#place;
        const nodes = new Map();
        for (const channel of opened ? sensor.channels : sensor.channels.slice(0, most)) {
            const cell = this.#cells.get(channel.id);
            cell.update(channel, this.#times.since(sensor, channel), this.#texts, now, opened);
            nodes.set(channel.id, cell.node);
        }
        this.#cells.keep(nodes);
        arrange(parts.first, first.filter(id => nodes.has(id)).map(id => nodes.get(id)));
        arrange(parts.rest, [...nodes].filter(([id]) => !first.includes(id)).map(([, node]) => node));
        parts.first.hidden = first.length === 0;
    }

    // A sensor without new values fails since its last good scan.
    #show_fault_age(now) {
        const {last_good, stale} = this.sensor;
        const failed = this.#place.headline !== null && stale && last_good !== null;
        this.#parts.since.update(failed ? {time: last_good, exact: true} : undefined, this.#texts, now);
        this.#show_age(now);
    }

    // Called every second for rows in sight.
    show_age(now) {
        if (this.#outdated) {
            return;
        }
        if (this.#place.form === 'large') {
            this.#parts.since.show_age(now);
            this.#place.first.forEach(id => this.#cells.views.get(id)?.show_age(now));
        }
        if (this.opened || this.#place.form === 'line') {
            this.#show_age(now);
        }
    }

    // Values of a sensor that fails are those of its last good scan, however old.
    #show_age(now) {
        const {last_good, last_scan, stale, interval, kind, id, labels} = this.sensor;
        const texts = this.#texts;
        const moment = time => (time === null ? texts.get('sensor.no_time') : texts.moment(time));
        const when = last_good === null ? texts.get('sensor.never') : texts.distance(last_good, now);
        set_text(this.#parts.age, stale && last_good !== null ? texts.get('sensor.stale', {when}) : when);
        set_attribute(this.#parts.age, 'title', texts.get('sensor.last_good_at', {when: moment(last_good)}));
        if (this.opened) {
            fill_facts(this.#parts.facts, [
                [texts.get('sensor.last_good'), moment(last_good)],
                [texts.get('sensor.last_scan'), moment(last_scan)],
                [texts.get('sensor.interval'), texts.time_part(interval, 'second')],
                [texts.get('sensor.kind'), kind],
                [texts.get('sensor.id'), String(id)],
                ...Object.entries(labels ?? {}),
            ]);
        }
    }

    // @param answer the channels' curves of this sensor
    // @param step seconds, @param end time of the newest step's end
    show_curves(answer, step, end, now) {
        for (const curve of answer.channels) {
            const channel = this.sensor.channels.find(({id}) => id === curve.id);
            if (channel && this.#cells.views.has(curve.id)) {
                this.#times.learn(this.sensor, channel, curve, step, end);
                this.#cells.views.get(curve.id).show_curve(curve, step, end);
            }
        }
        this.#outdated = true;
        this.refresh(now);
    }
}
