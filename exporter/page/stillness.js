// Tells whether the reader points at a part of the page or works in it with the keyboard: as long as that is so, nothing
// in it may be moved. A pointer or a focus that was left behind, as on a wall display, ends it.

const rest = 60000; // ms without a movement or a key after which nobody is there
const pause = 300;  // ms after the end until the page is told: the pointer may come back

export class stillness {
    #area;
    #pointed = false;
    #active_at = -Infinity;
    #timer = 0;

    // @param area an element
    // @param on_end called soon after it ended
    constructor(area, on_end) {
        this.#area = area;
        const point = event => {
            this.#pointed = event.pointerType === 'mouse' || event.type === 'pointerdown';
            this.#note();
        };
        const leave = () => {
            this.#pointed = false;
            this.#end_soon(on_end);
        };
        for (const kind of ['pointerdown', 'pointermove', 'pointerover']) {
            area.addEventListener(kind, point);
        }
        for (const kind of ['pointerleave', 'pointercancel', 'focusout']) {
            area.addEventListener(kind, kind === 'focusout' ? () => this.#end_soon(on_end) : leave);
        }
        area.addEventListener('pointerup', event => event.pointerType === 'mouse' || leave());
        area.addEventListener('focusin', () => this.#note());
        addEventListener('keydown', () => this.#note());
        addEventListener('wheel', () => this.#note(), {passive: true});
    }

    #note() {
        this.#active_at = performance.now();
    }

    #end_soon(on_end) {
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.holds || on_end(), pause);
    }

    get holds() {
        const focused = document.activeElement !== this.#area && this.#area.contains(document.activeElement);
        return (this.#pointed || focused) && performance.now() - this.#active_at < rest;
    }

    // The reader asks for the new order.
    release() {
        this.#active_at = -Infinity;
    }
}
