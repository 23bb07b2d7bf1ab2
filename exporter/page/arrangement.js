// What stands where: servers that are down with their sensors under them, then the faults of all others, one by one,
// then what is well, in groups by server or by a label. Whatever gives the page its heights is decided here, so that it can be kept as it is
// while the reader points at it.

import {is_faulty, label_of, server_mark} from './model.js';

// What sensors are grouped by: a label of the configuration, such as the line that a machine belongs to, or the server.
// @param label empty: the server
const group_of = label => sensor => (label ? `${label}=${label_of(sensor, label)}` : sensor.server);

const single = ''; // the key of the group of those that would be alone in their server's

// @param sensors in their order
// @return key -> sensors
function grouped(sensors, key_of) {
    const groups = new Map();
    for (const sensor of sensors) {
        const key = key_of(sensor);
        groups.set(key, groups.get(key) ?? []);
        groups.get(key).push(sensor);
    }
    return groups;
}

const ids_of = sensors => sensors.map(({id}) => id);

// What is wrong with a sensor: channels, or that it has no new values.
function fault_of({id, stale, message, channels}) {
    const faulty = stale ? [] : channels.filter(is_faulty);
    faulty.sort((left, right) => (left.state > right.state) - (left.state < right.state)); // errors, then warnings
    const headline = faulty.length > 0 ? null : message;
    return {form: 'large', id, first: ids_of(faulty), most: Infinity, headline};
}

// @param shown the sensors of servers that are down
function down_of(shown, failed, filtered) {
    const members = grouped(shown, ({server}) => server);
    return [...failed.values()]
        .filter(({address}) => !filtered || members.has(address))
        .map(({address, message}) => ({key: address, ids: ids_of(members.get(address) ?? []), message}));
}

// @param well the sensors that stand in groups
// @param everything key of a group -> all its sensors, wherever they stand
function groups_of(well, everything, label) {
    const key_of = group_of(label);
    const is_single = sensor => label === '' && everything.get(key_of(sensor)).length === 1;
    const together = well.filter(is_single).length > 1;
    const groups = grouped(well, sensor => (together && is_single(sensor) ? single : key_of(sensor)));
    return [...groups].map(([key, members]) => {
        const value = label === '' ? null : label_of(members[0], label);
        return {key, ids: ids_of(members), label, value};
    });
}

// @param sensors all of them, sorted
// @param wanted sensor => whether it is to be shown
// @param filtered whether some may not be wanted
// @param label what groups are made by; empty: the server
// @return {down, faults, groups}: down and groups have keys, the ids of the sensors that stand in them, and of all that
// belong to them; faults tell what is wrong
export function arrangement_of({sensors, servers, wanted, filtered, label, compare}) {
    const failing = servers.filter(server => server_mark(server) === 'error');
    const failed = new Map(failing.map(server => [server.address, server]));
    const shown = sensors.filter(wanted);
    const others = shown.filter(({server}) => !failed.has(server));
    const by_server = grouped(sensors, group_of(''));
    const everything = label === '' ? by_server : grouped(sensors, group_of(label));
    const is_last = ({key, value}) => key === single || value === '';
    const by_key = (left, right) => is_last(left) - is_last(right) || compare(left.key, right.key);
    const finished = (groups, members) => groups.sort(by_key).map(group => {
        const all = members.get(group.key);
        return {...group, all: all ? ids_of(all) : group.ids};
    });
    return {
        down: finished(down_of(shown.filter(({server}) => failed.has(server)), failed, filtered), by_server),
        faults: others.filter(is_faulty).map(fault_of),
        groups: finished(groups_of(others.filter(sensor => !is_faulty(sensor)), everything, label), everything),
    };
}

// @return the arrangement without sensors that are gone
export function without_gone({down, faults, groups}, sensors) {
    const there = ids => ids.filter(id => sensors.has(id));
    const kept = group => ({...group, ids: there(group.ids), all: there(group.all)});
    return {down: down.map(kept), faults: faults.filter(({id}) => sensors.has(id)), groups: groups.map(kept)};
}

// @return number of sensors in it
export function size_of({down, faults, groups}) {
    return [...down, ...groups].reduce((sum, {ids}) => sum + ids.length, faults.length);
}
