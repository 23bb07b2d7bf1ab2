// What the sensors are grouped by, for the reader to choose: servers or a label. There is no choice without labels.

import {element, set_text} from './dom.js';

export class grouping {
    #select;
    #names = null; // of the options

    // @param on_choice called with a label, or empty for servers
    constructor(select, on_choice) {
        this.#select = select;
        select.addEventListener('change', () => on_choice(select.value));
    }

    // @param names of labels, @param wanted one of them; others and empty mean servers
    // @return what the sensors are grouped by
    update(names, wanted, texts) {
        const chosen = names.includes(wanted) ? wanted : '';
        const all = ['', ...names];
        if (all.join() !== this.#names?.join()) {
            this.#names = all;
            this.#select.replaceChildren(...all.map(name => {
                const option = element('option');
                option.value = name;
                return option;
            }));
        }
        all.forEach((name, index) => {
            const what = name === '' ? texts.get('group.server') : name;
            set_text(this.#select.options[index], texts.get('group.by', {what}));
        });
        this.#select.value = chosen;
        this.#select.hidden = names.length === 0;
        return chosen;
    }
}
