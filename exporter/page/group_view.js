// A group of sensors: its head with the counts, and a list of rows that can be folded away. Its head tells about the
// server that it is the group of: how it is reached, and what is wrong when it is not.

import {element, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {label_search} from './filter.js';
import {count_states, server_mark} from './model.js';
import {since_line} from './since_line.js';
import {tallies} from './tallies.js';

export class group_view {
    #mark = state_mark();
    #fold = element('button', 'fold');
    #state = element('span', 'word');
    #message = element('span', 'message');
    #since = new since_line();
    #facts = Array.from({length: 3}, () => element('span'));
    #tallies = new tallies();
    #only = element('button', 'only', state_mark());
    #shown_when_well = null; // whether its reader folded it: null, not yet
    #search = '';            // what finds its sensors alone; empty: nothing does
    list = element('ul', 'lines');
    node = element(
        'li',
        'group',
        element(
            'div',
            'group-head',
            this.#mark,
            element('h3', '', this.#fold),
            this.#state,
            this.#message,
            this.#since.node,
            element('span', 'group-facts', ...this.#facts),
            this.#tallies.node,
            this.#only
        ),
        this.list
    );

    // @param on_toggle called when it was folded or unfolded, @param on_only with what finds its sensors alone
    constructor(number, on_toggle, on_only) {
        this.#fold.type = this.#only.type = 'button';
        this.list.id = `group-${number}`;
        this.list.setAttribute('role', 'list');
        set_attribute(this.#fold, 'aria-controls', this.list.id);
        show_mark(this.#only.firstChild, 'filter');
        this.#fold.addEventListener('click', () => {
            this.#shown_when_well = this.list.hidden;
            on_toggle();
        });
        this.#only.addEventListener('click', () => on_only(this.#search));
    }

    // @param group of the arrangement, @param server of that key or undefined
    // @param sensors all of the group, those with faults that stand elsewhere, too
    // @param searched whether the reader looks for something: then nothing is folded
    update(group, server, sensors, texts, now, searched) {
        const state = server ? server_mark(server) : 'ok';
        const down = group.message !== undefined;
        const folded = !searched && (this.#shown_when_well === null ? down : !this.#shown_when_well);
        set_attribute(this.node, 'data-state', state);
        this.node.classList.toggle('down', down);
        show_mark(this.#mark, state);
        this.#mark.classList.toggle('unneeded', state === 'ok' && !down);
        this.#show_title(group, texts);
        set_attribute(this.#fold, 'aria-expanded', !folded);
        this.list.hidden = folded;
        if (!down || state === 'error') {
            this.#show_server(group, server, texts, now);
        } // else it came back, and its words stay as long as its place is kept
        this.#tallies.update(count_states(sensors), texts);
    }

    #show_title({key, label, value}, texts) {
        const nameless = label ? texts.get('group.without', {what: label}) : texts.get('group.single');
        set_text(this.#fold, (label ? value : key) || nameless);
        this.#search = label ? value && label_search(label, value) : key;
        this.#only.hidden = this.#search === '';
        const select = texts.get(label ? 'group.select' : 'server.select');
        set_attribute(this.#only, 'title', select);
        set_attribute(this.#only, 'aria-label', select);
    }

    #show_server({message}, server, texts, now) {
        const down = message !== undefined;
        set_text(this.#state, server && server_mark(server) !== 'ok' ? texts.get(`server.${server.state}`) : '');
        set_text(this.#message, message ?? '');
        this.#since.update(down ? {time: server.since, exact: true} : undefined, texts, now);
        const next = server?.next_attempt && texts.distance(Math.max(server.next_attempt, now), now);
        const facts = [
            next ? texts.get('server.next', {when: next}) : '',
            server && !down ? texts.get('server.changed', {when: texts.distance(server.since, now)}) : '',
            server && !down ? texts.get('server.sessions', {n: texts.number(server.sessions)}) : '',
        ];
        facts.forEach((fact, index) => {
            set_text(this.#facts[index], fact);
            this.#facts[index].hidden = fact === '';
        });
    }
}
