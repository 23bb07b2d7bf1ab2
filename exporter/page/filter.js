// Which sensors the reader wants to see.

const texts_of = new WeakMap(); // sensor -> what a search looks into

function searchable_text(sensor) {
    if (!texts_of.has(sensor)) {
        const {name, server, kind, kind_name, message, channels} = sensor;
        const texts = [name, server, kind, kind_name, message, ...channels.map(channel => channel.name)];
        texts_of.set(sensor, texts.join('\n').toLowerCase());
    }
    return texts_of.get(sensor);
}

// @param view as address.js reads it
export const is_filtered = ({search, states}) => search !== '' || states.size > 0;

// @return sensor => whether it has one of the states, if any are chosen, and all words of the search
export function matcher({search, states}) {
    const words = search.toLowerCase().split(/\s+/).filter(Boolean);
    return sensor => {
        const text = words.length > 0 ? searchable_text(sensor) : '';
        return (states.size === 0 || states.has(sensor.state)) && words.every(word => text.includes(word));
    };
}
