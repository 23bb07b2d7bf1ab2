// One channel of a sensor: its name, value and last hour, and in a sensor that is opened also extremes and limits.

import {draw_curve, extremes, label_curve, new_curve} from './curve.js';
import {element, fill_facts, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {number_format, value_text} from './numbers.js';

// From top to bottom, each with its state and how a value breaks it.
const limits = [
    ['upper_error', 'error', '>'],
    ['upper_warning', 'warning', '>'],
    ['lower_warning', 'warning', '<'],
    ['lower_error', 'error', '<'],
];

function broken_limit(channel) {
    const given = channel.limits ?? {};
    return limits.find(
        ([name, state, sign]) =>
            state === channel.state &&
            Number.isFinite(given[name]) &&
            (sign === '>' ? channel.raw > given[name] : channel.raw < given[name])
    );
}

export class channel_cell {
    #channel = null;
    #texts = null;
    #curve = null;
    #name = element('span', 'channel-name');
    #mark = state_mark();
    #word = element('span');
    #reason = element('span', 'reason');
    #number = element('span', 'number');
    #unit = element('span', 'unit');
    #picture = new_curve();
    #axis = element('span', 'axis', element('span'), element('span'), element('span'));
    #facts = element('dl', 'facts');
    node = element(
        'li',
        'channel',
        this.#name,
        element('span', 'flag', this.#mark, this.#word, ' ', this.#reason),
        this.#picture,
        element('span', 'value', this.#number, ' ', this.#unit),
        this.#axis,
        this.#facts
    );

    update(channel, texts, opened) {
        this.#channel = channel;
        this.#texts = texts;
        const state = channel.state === 'warning' || channel.state === 'error' ? channel.state : 'none';
        set_attribute(this.node, 'data-state', state);
        set_text(this.#name, channel.name);
        set_attribute(this.#name, 'title', channel.name);
        set_text(this.#number, value_text(channel, texts));
        set_text(this.#unit, channel.unit);
        set_attribute(this.#number, 'class', channel.lookup ? 'number words' : 'number');
        const format = number_format(channel, texts);
        this.#show_state(state, format);
        this.#label();
        this.#axis.hidden = !opened;
        this.#facts.hidden = !opened;
        if (opened) {
            this.#show_facts(format);
        }
    }

    // A broken limit says more than the state's name, which then is for screen readers alone.
    #show_state(state, format) {
        const broken = state === 'none' ? undefined : broken_limit(this.#channel);
        set_text(this.#word, state === 'none' ? '' : this.#texts.get(`state.${state}`));
        set_attribute(this.#word, 'class', broken ? 'unseen' : 'word');
        set_text(this.#reason, broken ? `${broken[2]}\u00a0${format(this.#channel.limits[broken[0]])}` : '');
        if (state !== 'none') {
            show_mark(this.#mark, state);
        }
    }

    // @param curve {low, high}, @param step seconds, @param end time of the newest step
    show_curve(curve, step, end) {
        this.#curve = curve;
        draw_curve(this.#picture, curve, this.#channel.limits ?? {});
        const length = curve.low.length * step;
        [...this.#axis.children].forEach((mark, index) => {
            set_text(mark, this.#texts.hour_and_minute(end - length * (1 - index / 2)));
        });
        this.#label();
    }

    #range() {
        return this.#curve && extremes(this.#curve);
    }

    #label() {
        if (this.#curve === null) {
            return;
        }
        const channel = this.#channel;
        const range = this.#range();
        const format = number_format(channel, this.#texts);
        const value = value_text(channel, this.#texts);
        const now = channel.unit ? `${value} ${channel.unit}` : value;
        const key = range === null ? 'curve.empty' : channel.lookup ? 'curve.words' : 'curve.range';
        const values = range === null ? {} : {minimum: format(range.low), maximum: format(range.high), now};
        label_curve(this.#picture, this.#texts.get(key, {name: channel.name, ...values}));
    }

    #show_facts(format) {
        const channel = this.#channel;
        const range = channel.lookup ? null : this.#range();
        const format_limit = limit => (Number.isFinite(limit) ? format(limit) : null);
        const raw = String(channel.raw ?? '');
        const facts = [
            ['channel.minimum', range && format(range.low)],
            ['channel.maximum', range && format(range.high)],
            ...limits.map(([name]) => [`limit.${name}`, format_limit(channel.limits?.[name])]),
            ['channel.raw', raw === channel.value ? null : this.#texts.decimal(raw)],
        ].filter(([, text]) => text);
        fill_facts(this.#facts, facts.map(([key, text]) => [this.#texts.get(key), text]));
    }
}
