// The servers: how each one is reached. A click shows only the sensors of one.

import {element, keyed_views, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {server_mark} from './model.js';

const most_unfolded = 8; // with more servers, those that are ready are folded away
const most_unfolded_narrow = 2;
const narrow = matchMedia('(max-width: 40rem)');

class server_tile {
    #mark = state_mark();
    #address = element('span', 'address');
    #state = element('span', 'word');
    #message = element('span', 'message');
    #facts = Array.from({length: 4}, () => element('span'));
    #button = element('button', 'server', this.#mark, this.#address, this.#state, this.#message,
        element('span', 'server-facts', ...this.#facts));
    node = element('li', '', this.#button);

    constructor(address) {
        this.#button.type = 'button';
        this.#button.value = address;
        set_text(this.#address, address);
    }

    update(server, texts, now, selected) {
        const mark = server_mark(server);
        set_attribute(this.node, 'data-state', mark);
        set_attribute(this.#button, 'aria-pressed', selected);
        set_attribute(this.#button, 'title', texts.get('server.select'));
        show_mark(this.#mark, mark);
        set_text(this.#state, texts.get(`server.${server.state}`));
        set_text(this.#message, server.message);
        const next = server.next_attempt && texts.distance(Math.max(server.next_attempt, now), now);
        const facts = [
            server.since ? texts.get('server.changed', {when: texts.distance(server.since, now)}) : '',
            next ? texts.get('server.next', {when: next}) : '',
            texts.get('server.sensors', {n: texts.number(server.sensors)}),
            texts.get('server.sessions', {n: texts.number(server.sessions)}),
        ];
        facts.forEach((fact, index) => {
            set_text(this.#facts[index], fact);
            this.#facts[index].hidden = fact === '';
        });
    }
}

export class server_list {
    #list;
    #fold;
    #tiles;
    #unfolded = false;

    // @param fold the button that shows or hides what is folded away
    // @param on_select called with an address
    constructor(list, fold, on_select) {
        this.#list = list;
        this.#fold = fold;
        this.#tiles = new keyed_views(list, server => server.address, address => new server_tile(address));
        list.addEventListener('click', event => {
            const button = event.target.closest('.server');
            if (button) {
                on_select(button.value);
            }
        });
        fold.addEventListener('click', () => {
            this.#unfolded = !this.#unfolded;
            this.#show_fold();
        });
    }

    // @param servers in their order
    // @param selected the address whose sensors are shown, or another text
    update(servers, texts, now, selected) {
        this.#tiles.show(servers, (tile, server) => tile.update(server, texts, now, server.address === selected));
        const ready = servers.filter(server => server_mark(server) === 'ok').length;
        this.#fold.hidden = ready === 0 || servers.length <= (narrow.matches ? most_unfolded_narrow : most_unfolded);
        set_text(this.#fold, texts.get('server.fold', {n: texts.number(ready)}));
        this.#show_fold();
    }

    #show_fold() {
        this.#list.classList.toggle('folded', !this.#fold.hidden && !this.#unfolded);
        set_attribute(this.#fold, 'aria-expanded', this.#unfolded);
    }
}
