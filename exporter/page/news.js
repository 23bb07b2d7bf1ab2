// Tells of faults that came while their place was out of sight, or kept as it was for the reader's sake.

import {set_text} from './dom.js';
import {is_faulty} from './model.js';

export class news {
    #button;
    #place;
    #missed = new Set(); // ids of sensors

    // @param button that shows them, @param place where faults stand
    constructor(button, place, on_show) {
        [this.#button, this.#place] = [button, place];
        button.addEventListener('click', on_show);
    }

    // @param changed as model.merge() returns it
    note(changed) {
        for (const [sensor, before] of changed) {
            if (!is_faulty(sensor)) {
                this.#missed.delete(sensor.id);
            } else if (!is_faulty(before)) {
                this.#missed.add(sensor.id);
            }
        }
    }

    // @param held whether faults may be missing in their place
    update(held, texts) {
        if (!held && this.#place.getBoundingClientRect().top >= 0) {
            this.#missed.clear();
        }
        const {size} = this.#missed;
        this.#button.hidden = size === 0;
        set_text(this.#button, size === 0 ? '' : texts.get('fault.missed', {n: texts.number(size)}));
    }
}
