// Fetches the curves of the rows that are seen, in batches, and again every 30 seconds.

import {fetch_json} from './poller.js';

const lifetime = 30000; // ms, as all times here
const gathering = 150;  // rows that come into view together are asked for together
const batch = 40;       // sensors in one request

export class curve_feed {
    #list;
    #timer = 0;
    #busy = false;

    constructor(list) {
        this.#list = list;
    }

    // Fetches soon what is missing or old.
    refresh() {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.#fetch(), gathering);
    }

    async #fetch() {
        if (this.#busy || document.hidden) {
            return;
        }
        this.#busy = true;
        try {
            for (let rows = this.#due(); rows.length > 0; rows = this.#due()) {
                await this.#fetch_batch(rows.slice(0, batch));
            }
        } catch (error) {
            console.warn('no curves from the probe:', error); // the next round tries again
        } finally {
            this.#busy = false;
        }
    }

    #due() {
        const now = Date.now();
        return this.#list.rows_with_curves().filter(row => now - row.curves_at >= lifetime);
    }

    async #fetch_batch(rows) {
        const answer = await fetch_json(`api/curves?sensors=${rows.map(row => row.sensor.id).join(',')}`);
        for (const row of rows) {
            row.curves_at = Date.now();
        }
        for (const sensor of answer.sensors) {
            this.#list.show_curves(sensor, answer.step, answer.end);
        }
    }
}
