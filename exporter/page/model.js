// What the page knows of the probe: servers and sensors as of the last answer.

// The worst first.
export const states = ['error', 'warning', 'pending', 'ok'];
const ranks = Object.fromEntries(states.map((state, rank) => [state, rank]));

// How a server's state is shown among those of sensors.
const server_marks = {ready: 'ok', connecting: 'pending'};
export const server_mark = server => server_marks[server.state] ?? 'error';

export class model {
    servers = [];
    sensors = new Map(); // id -> sensor; another object as soon as anything of it differs
    revision = null;     // null: nothing known, or not in this language
    version = null;      // of the probe
    answered_at = 0;     // the probe's clock at its last answer, seconds since 1970; 0: none yet
    #clock_lead = 0;     // of the probe's clock before this one's, seconds

    // @param answer the probe's state, complete or what changed since this revision
    // @return sensors that were known in another state
    merge(answer) {
        const turned = answer.sensors.filter(sensor => {
            const before = this.sensors.get(sensor.id);
            return before && before.state !== sensor.state;
        });
        if (answer.complete) {
            this.sensors.clear();
        }
        answer.sensors.forEach(sensor => this.sensors.set(sensor.id, sensor));
        answer.removed?.forEach(id => this.sensors.delete(id));
        this.servers = answer.servers;
        this.revision = answer.revision;
        this.version = answer.version;
        this.answered_at = answer.now;
        this.#clock_lead = answer.now - Date.now() / 1000;
        return turned;
    }

    // @return the probe's clock now, seconds since 1970
    now() {
        return Date.now() / 1000 + this.#clock_lead;
    }

    // @return state -> number of sensors
    counts() {
        const counts = Object.fromEntries(states.map(state => [state, 0]));
        this.sensors.forEach(sensor => (counts[sensor.state] += 1));
        return counts;
    }

    // @return all sensors, the worst first, then by name
    sorted_sensors({compare}) {
        return [...this.sensors.values()].sort(
            (left, right) =>
                ranks[left.state] - ranks[right.state] || compare(left.name, right.name) || left.id - right.id
        );
    }

    // @return all servers, the worst first, then by address
    sorted_servers({compare}) {
        const rank = server => ranks[server_mark(server)];
        return [...this.servers].sort(
            (left, right) => rank(left) - rank(right) || compare(left.address, right.address)
        );
    }
}

// @return what a search looks into, in lower case
export function searchable_text({name, server, kind, kind_name, message, channels}) {
    return [name, server, kind, kind_name, message, ...channels.map(channel => channel.name)].join('\n').toLowerCase();
}

// @param text as searchable_text() makes it
// @param search words that all have to occur
// @param shown_states Set; empty: all
export function matches(text, state, search, shown_states) {
    const words = search.toLowerCase().split(/\s+/);
    return (shown_states.size === 0 || shown_states.has(state)) && words.every(word => text.includes(word));
}
