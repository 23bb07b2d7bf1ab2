// One channel of a sensor: its name, value and last hour; at fault also why and since when; and in a sensor that is
// opened also axes, extremes and limits.

import {curve_axes, ticks_for} from './axes.js';
import {draw_curve, extremes, label_curve, new_curve} from './curve.js';
import {element, fill_facts, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {is_faulty} from './model.js';
import {number_format, value_text} from './numbers.js';
import {since_line} from './since_line.js';

// From top to bottom, each with its state and how a value breaks it.
const limits = [
    ['upper_error', 'error', '>'],
    ['upper_warning', 'warning', '>'],
    ['lower_warning', 'warning', '<'],
    ['lower_error', 'error', '<'],
];
const long_name = 18; // characters that do not fit beside a value in one column of a line
const unknown = '–';

function broken_limit(channel) {
    const given = channel.limits ?? {};
    return limits.find(
        ([name, state, sign]) =>
            state === channel.state &&
            Number.isFinite(given[name]) &&
            (sign === '>' ? channel.scaled > given[name] : channel.scaled < given[name])
    );
}

// @return ends of a range of bad values, which may be open (null), in words
function range_text([low, high], format, texts) {
    if (low === null || high === null) {
        return low === null ? `≤\u00a0${format(high)}` : `≥\u00a0${format(low)}`;
    }
    return texts.get('reason.inside', {low: format(low), high: format(high)});
}

// Why its value is not good.
// @param broken the limit that it breaks, if it breaks one
function reason_of(channel, broken, format, texts) {
    const {cause, by_module, bad, state, limits: given} = channel;
    if (broken) {
        const limit = `${broken[2]}\u00a0${format(given[broken[0]])}`;
        return by_module ? texts.get('reason.module_limit', {limit}) : limit;
    }
    if (cause === 'inside' && bad?.[state]) {
        return range_text(bad[state], format, texts);
    }
    return ['lookup', 'stated', 'no_number'].includes(cause) ? texts.get(`reason.${cause}`) : '';
}

export class channel_cell {
    #channel = null;
    #texts = null;
    #opened = false;
    #curve = null; // {low, high, step, end}
    #name = element('span', 'channel-name');
    #number = element('span', 'number');
    #unit = element('span', 'unit');
    #fault = null; // its parts, as soon as there was a fault
    #plot = null;  // its parts, as soon as there was a curve, or room for axes
    #facts = null; // as soon as it was opened
    node = element('li', 'channel', this.#name, element('span', 'value', this.#number, ' ', this.#unit));

    // @param since when its fault began, if that is known
    update(channel, since, texts, now, opened) {
        this.#channel = channel;
        this.#texts = texts;
        this.#opened = opened;
        const state = is_faulty(channel) ? channel.state : 'none';
        set_attribute(this.node, 'data-state', state);
        this.node.classList.toggle('wide', channel.name.length > long_name);
        set_text(this.#name, channel.name);
        set_attribute(this.#name, 'title', channel.name);
        set_text(this.#number, value_text(channel, texts, opened));
        set_attribute(this.#number, 'class', channel.lookup ? 'number words' : 'number');
        set_text(this.#unit, channel.unit);
        const format = number_format(channel, texts);
        if (state !== 'none' || this.#fault) {
            this.#show_fault(state, since, format, now);
        }
        this.#draw();
        if (opened || this.#facts) {
            this.#show_facts(format);
        }
    }

    show_age(now) {
        this.#fault?.since.show_age(now);
    }

    // Most channels of many sensors never need more than their first two parts.
    #make_fault() {
        const [mark, word, reason] = [state_mark(), element('span'), element('span', 'reason')];
        this.#fault = {mark, word, reason, since: new since_line()};
        this.node.children[1].after(element('span', 'flag', mark, word, ' ', reason));
        this.node.insertBefore(this.#fault.since.node, this.#facts);
    }

    #make_plot() {
        const [picture, axes] = [new_curve(), new curve_axes()];
        this.#plot = {picture, axes};
        const flag = this.#fault ? this.node.children[2] : this.node.children[1];
        flag.after(element('span', 'plot', picture, axes.values), axes.times);
    }

    // A broken limit says more than the state's name, which then is for screen readers alone.
    #show_fault(state, since, format, now) {
        if (!this.#fault) {
            this.#make_fault();
        }
        const {mark, word, reason} = this.#fault;
        const broken = state === 'none' ? undefined : broken_limit(this.#channel);
        set_text(word, state === 'none' ? '' : this.#texts.get(`state.${state}`));
        set_attribute(word, 'class', broken ? 'unseen' : 'word');
        set_text(reason, state === 'none' ? '' : reason_of(this.#channel, broken, format, this.#texts));
        if (state !== 'none') {
            show_mark(mark, state);
        }
        this.#fault.since.update(state === 'none' ? undefined : since, this.#texts, now);
    }

    // @param curve {low, high}, @param step seconds, @param end time of the newest step
    show_curve(curve, step, end) {
        this.#curve = {...curve, step, end};
        this.#draw();
        if (this.#opened) {
            this.#show_facts(number_format(this.#channel, this.#texts));
        }
    }

    #draw() {
        if (!this.#plot && (this.#curve || this.#opened)) {
            this.#make_plot();
        }
        if (this.#curve === null) {
            return;
        }
        const {picture, axes} = this.#plot;
        const {low, step, end} = this.#curve;
        const channel = this.#channel;
        const ticks_of = this.#opened ? ticks_for(channel) : () => [];
        const ticks = draw_curve(picture, this.#curve, channel.limits ?? {}, ticks_of);
        if (this.#opened) {
            axes.update(channel, ticks, low.length * step, end, this.#texts);
        }
        this.#label();
    }

    #range() {
        return this.#curve && extremes(this.#curve);
    }

    #label() {
        const channel = this.#channel;
        const range = this.#range();
        const format = number_format(channel, this.#texts);
        const value = value_text(channel, this.#texts);
        const now = channel.unit ? `${value} ${channel.unit}` : value;
        const key = range === null ? 'curve.empty' : channel.lookup ? 'curve.words' : 'curve.range';
        const values = range === null ? {} : {minimum: format(range.low), maximum: format(range.high), now};
        label_curve(this.#plot.picture, this.#texts.get(key, {name: channel.name, ...values}));
    }

    // The same lines before and after the curve is here, so that nothing moves when it comes.
    #show_facts(format) {
        if (!this.#facts) {
            this.#facts = element('dl', 'facts');
            this.node.append(this.#facts);
        }
        this.#facts.hidden = !this.#opened;
        const channel = this.#channel;
        const range = this.#range();
        const extreme = value => (channel.lookup ? null : range ? format(value(range)) : unknown);
        const format_limit = limit => (Number.isFinite(limit) ? format(limit) : null);
        const raw = String(channel.raw ?? '');
        const facts = [
            ['channel.minimum', extreme(({low}) => low)],
            ['channel.maximum', extreme(({high}) => high)],
            ...limits.map(([name]) => [`limit.${name}`, format_limit(channel.limits?.[name])]),
            ...Object.entries(channel.bad ?? {}).map(([level, range]) => [
                `bad.${level}`, range_text(range, format, this.#texts),
            ]),
            ['channel.raw', raw === channel.value ? null : this.#texts.decimal(raw)],
        ].filter(([, text]) => text);
        fill_facts(this.#facts, facts.map(([key, text]) => [this.#texts.get(key), text]));
    }
}
