// Since when faults hold: as seen while this page was open, and before that as far as the last hour's curves tell.

import {is_faulty} from './model.js';

const new_for = 600; // seconds after which a fault is not new any more

const beyond_error = (value, limits) => value > limits.upper_error || value < limits.lower_error;
const beyond = {
    error: beyond_error,
    warning: (value, limits) =>
        value > limits.upper_warning || value < limits.lower_warning || beyond_error(value, limits),
};

// @return value => whether it is at fault as the channel is now
function same_fault({limits = {}, bad = {}, cause, state, scaled}, newest) {
    if (cause === 'inside' && bad[state]) {
        const [low, high] = bad[state];
        return value => value >= (low ?? -Infinity) && value <= (high ?? Infinity);
    }
    if (beyond[state](scaled, limits) || beyond[state](newest, limits)) {
        return value => beyond[state](value, limits);
    }
    return value => value === newest; // a lookup tells the state: only this value has it for sure
}

// @param curve {low, high}, @param step seconds, @param end time of the newest step's end
// @return {time, exact}: not exact when it may have begun before; null: no values
function since_by_curve(channel, curve, step, end) {
    const steps = curve.low
        .map((low, place) => [place, low, curve.high[place]])
        .filter(([, low]) => Number.isFinite(low));
    if (steps.length === 0) {
        return null;
    }
    const at_fault = same_fault(channel, steps.at(-1)[2]);
    const last_good = steps.findLastIndex(([, low, high]) => !at_fault(low) && !at_fault(high));
    if (last_good === steps.length - 1) {
        return null; // the fault is newer than the curve
    }
    const [place] = steps[last_good + 1];
    return {time: end - (curve.low.length - place) * step, exact: last_good >= 0};
}

export class fault_times {
    #known = new Map(); // sensor and channel -> {state, time, exact}

    static #key = (sensor, channel) => `${sensor.id}/${channel.id}`;

    // @param changed as model.merge() returns it
    note(changed) {
        for (const [sensor, before] of changed) {
            for (const channel of sensor.channels) {
                this.#note_channel(sensor, channel, before.channels.find(({id}) => id === channel.id));
            }
        }
    }

    #note_channel(sensor, channel, before) {
        const key = fault_times.#key(sensor, channel);
        if (!before || before.state === channel.state) {
            return;
        }
        this.#known.delete(key);
        if (is_faulty(channel) && (channel.state === 'error' || !is_faulty(before))) {
            this.#known.set(key, {state: channel.state, time: sensor.last_scan, exact: true});
        }
    }

    // Looks into the curve of a channel whose fault was there before the page.
    learn(sensor, channel, curve, step, end) {
        const key = fault_times.#key(sensor, channel);
        if (is_faulty(channel) && this.#known.get(key)?.state !== channel.state) {
            const since = since_by_curve(channel, curve, step, end);
            if (since) {
                this.#known.set(key, {state: channel.state, ...since});
            }
        }
    }

    // @return {time, exact}, or undefined when it is not known
    since(sensor, channel) {
        return this.#known.get(fault_times.#key(sensor, channel));
    }
}

// @param since {time, exact} or undefined, @param now the probe's clock
export const is_new = (since, now) => Boolean(since?.exact) && now - since.time < new_for;
