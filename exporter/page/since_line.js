// Since when a fault holds, as text; a fault that is new is marked as such.

import {element, set_attribute, set_text} from './dom.js';
import {is_new} from './fault_times.js';

export class since_line {
    #since = undefined;
    #texts = null;
    #new = element('strong', 'new');
    #time = element('span', 'since-time');
    #distance = element('span', 'since-distance');
    node = element('span', 'since', this.#new, ' ', this.#time, ' ', this.#distance);

    // @param since {time, exact} as fault_times knows it, or undefined
    update(since, texts, now) {
        this.#since = since;
        this.#texts = texts;
        this.show_age(now);
    }

    show_age(now) {
        const [since, texts] = [this.#since, this.#texts];
        this.node.hidden = !since;
        if (!since) {
            return;
        }
        const fresh = is_new(since, now);
        this.node.classList.toggle('is-new', fresh);
        set_text(this.#new, fresh ? texts.get('fault.new') : '');
        const time = texts.short_moment(since.time, now);
        set_text(this.#time, texts.get(since.exact ? 'fault.since' : 'fault.before', {time}));
        set_text(this.#distance, since.exact ? texts.distance(since.time, now) : '');
        set_attribute(this.node, 'title', texts.moment(since.time));
    }
}
