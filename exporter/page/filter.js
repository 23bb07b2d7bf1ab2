// Which sensors the reader wants to see.

import {label_of} from './model.js';

const texts_of = new WeakMap(); // sensor -> what a search looks into

function searchable_text(sensor) {
    if (!texts_of.has(sensor)) {
        const {name, server, kind, kind_name, message, channels, labels = {}} = sensor;
        const names = channels.map(channel => channel.name);
        const texts = [name, server, kind, kind_name, message, ...names, ...Object.values(labels)];
        texts_of.set(sensor, texts.join('\n').toLowerCase());
    }
    return texts_of.get(sensor);
}

// What finds the sensors with this value of a label, and no others: one word, whatever is in the value.
export const label_search = (label, value) => `${label}=${value.replace(/\s+/g, '_')}`;

// @return whether the word asks for a value of a label that the sensor has
function has_label(sensor, word) {
    return Object.keys(sensor.labels ?? {}).some(
        label => label_search(label, label_of(sensor, label)).toLowerCase() === word
    );
}

// @param view as address.js reads it
export const is_filtered = ({search, states}) => search !== '' || states.size > 0;

// @return sensor => whether it has one of the states, if any are chosen, and all words of the search; a word may be
// LABEL=VALUE
export function matcher({search, states}) {
    const words = search.toLowerCase().split(/\s+/).filter(Boolean);
    return sensor => {
        const text = words.length > 0 ? searchable_text(sensor) : '';
        return (states.size === 0 || states.has(sensor.state)) && words.every(word => has_label(sensor, word) || text.includes(word));
    };
}
