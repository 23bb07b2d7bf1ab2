// Numbers of sensors by state.

import {element, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {states} from './model.js';

// A mark and a number, with the state's name for screen readers.
class tally {
    #number = element('span', 'number');
    #word = element('span', 'unseen');
    node = element('span', 'tally');

    constructor(state) {
        const mark = state_mark();
        show_mark(mark, state);
        set_attribute(this.node, 'data-state', state);
        this.node.append(mark, this.#number, ' ', this.#word);
    }

    update(count, word, texts) {
        this.node.hidden = count === 0;
        set_text(this.#number, texts.number(count));
        set_text(this.#word, word);
    }
}

export class tallies {
    #parts = new Map(states.map(state => [state, new tally(state)]));
    node = element('span', 'tallies', ...[...this.#parts.values()].map(part => part.node));

    // @param counts state -> number
    update(counts, texts) {
        for (const [state, part] of this.#parts) {
            part.update(counts[state], texts.get(`state.${state}`), texts);
        }
    }
}
