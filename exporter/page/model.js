// What the page knows of the probe: servers and sensors as of the last answer.

// The worst first.
export const states = ['error', 'warning', 'pending', 'ok'];
const ranks = Object.fromEntries(states.map((state, rank) => [state, rank]));

// @param thing a sensor or a channel
export const is_faulty = ({state}) => state === 'error' || state === 'warning';

// @return the value of a label of the configuration; empty: the sensor has none such
export const label_of = ({labels = {}}, name) => (Object.hasOwn(labels, name) ? labels[name] : '');

// How a server's state is shown among those of sensors.
const server_marks = {ready: 'ok', connecting: 'pending'};
export const server_mark = server => server_marks[server.state] ?? 'error';

// @return state -> number of sensors
export function count_states(sensors) {
    const counts = Object.fromEntries(states.map(state => [state, 0]));
    for (const sensor of sensors) {
        counts[sensor.state] += 1;
    }
    return counts;
}

// What to do stands behind what is wrong; of a sensor that has values, what the configuration finds wrong.
function with_hint(thing) {
    const {message, hint} = thing;
    if (!hint) {
        return thing;
    }
    const before = message === '' || message === 'OK' ? '' : /[.!?。！？]$/.test(message) ? `${message} ` : `${message} – `;
    return {...thing, message: before + hint};
}

export class model {
    servers = [];
    certificates = [];
    sensors = new Map(); // id -> sensor; another object as soon as anything of it differs
    revision = null;     // null: nothing known, or not in this language
    version = null;      // of the probe
    answered_at = 0;     // the probe's clock at its last answer, seconds since 1970; 0: none yet
    #clock_lead = 0;     // of the probe's clock before this one's, seconds
    #by_name = null;     // all sensors' ids; null: some are new, gone or named anew
    #compare = null;     // what the names are in order by

    // @param answer the probe's state, complete or what changed since this revision
    // @return [sensor, what it was before] for each that was known with other values
    merge(answer) {
        const sensors = answer.sensors.map(with_hint);
        const changed = sensors
            .map(sensor => [sensor, this.sensors.get(sensor.id)])
            .filter(([sensor, before]) => {
                if (before?.name !== sensor.name) {
                    this.#by_name = null;
                }
                return before;
            });
        if (answer.complete) {
            this.sensors.clear();
            this.#by_name = null;
        }
        sensors.forEach(sensor => this.sensors.set(sensor.id, sensor));
        for (const id of answer.removed ?? []) {
            this.sensors.delete(id);
            this.#by_name = null;
        }
        this.servers = answer.servers.map(with_hint);
        this.certificates = answer.certificates ?? [];
        this.revision = answer.revision;
        this.version = answer.version;
        this.answered_at = answer.now;
        this.#clock_lead = answer.now - Date.now() / 1000;
        return changed;
    }

    // @return the probe's clock now, seconds since 1970
    now() {
        return Date.now() / 1000 + this.#clock_lead;
    }

    server(address) {
        return this.servers.find(server => server.address === address);
    }

    counts() {
        return count_states(this.sensors.values());
    }

    // @return the names of all labels that sensors have
    label_names({compare}) {
        const names = [...this.sensors.values()].flatMap(({labels}) => Object.keys(labels ?? {}));
        return [...new Set(names)].sort(compare);
    }

    // @return all sensors, the worst first, then by name
    sorted_sensors({compare}) {
        if (this.#by_name === null || this.#compare !== compare) {
            const all = [...this.sensors.values()];
            all.sort((left, right) => compare(left.name, right.name) || left.id - right.id);
            this.#by_name = all.map(({id}) => id);
            this.#compare = compare;
        }
        const sorted = this.#by_name.map(id => this.sensors.get(id));
        return sorted.sort((left, right) => ranks[left.state] - ranks[right.state]);
    }
}
