// Asks the probe for its state again and again: one request at a time, the next is due a while after the last one
// ended.

const pause_when_seen = 2000; // ms, as all times here
const pause_when_hidden = 15000;
const longest_pause = 30000;
const patience = 10000;

// @param signal an AbortSignal that ends the request early, or none
// @return the answer's JSON; rejects when there is no good answer within the patience
export async function fetch_json(url, signal) {
    const ending = new AbortController();
    const end = () => ending.abort();
    const limit = setTimeout(end, patience);
    signal?.addEventListener('abort', end);
    try {
        const answer = await fetch(url, {signal: ending.signal, cache: 'no-store'});
        if (!answer.ok) {
            throw new Error(`${url}: ${answer.status}`);
        }
        return await answer.json();
    } finally {
        clearTimeout(limit);
        signal?.removeEventListener('abort', end);
    }
}

export class poller {
    #ask;
    #timer = 0;
    #round = null;

    failures = 0;     // in a row
    next_attempt = 0; // Date.now() of the next request; 0 while one is under way
    last_answer = 0;  // Date.now() of the last good answer; 0: none yet

    // @param ask (signal) => promise that rejects when the probe does not answer
    constructor(ask) {
        this.#ask = ask;
        document.addEventListener('visibilitychange', () => document.hidden || this.ask_now());
        addEventListener('online', () => this.ask_now());
    }

    // Asks at once; a request that is under way is given up, its answer would be of no use.
    async ask_now() {
        this.#round?.abort();
        clearTimeout(this.#timer);
        const round = this.#round = new AbortController();
        this.next_attempt = 0;
        try {
            await this.#ask(round.signal);
            this.failures = 0;
            this.last_answer = Date.now();
        } catch (error) {
            if (round !== this.#round) {
                return;
            }
            this.failures += 1;
            console.warn('no answer from the probe:', error);
        }
        if (round === this.#round) {
            this.#plan();
        }
    }

    #plan() {
        const calm = document.hidden ? pause_when_hidden : pause_when_seen;
        const pause = Math.max(calm, Math.min(pause_when_seen * 2 ** (this.failures - 1), longest_pause));
        this.next_attempt = Date.now() + pause;
        this.#timer = setTimeout(() => this.ask_now(), pause);
    }
}
