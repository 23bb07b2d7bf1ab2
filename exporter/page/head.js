// The head of the page: counts by state, which are the filter, too; how fresh the page is; the banner for when the
// probe does not answer.

import {element, set_attribute, set_text, show_mark, state_mark} from './dom.js';
import {states} from './model.js';

const late_after = 6000; // ms without an answer until the reader is told

export class counts_bar {
    #all = this.#button(null);
    #buttons = new Map(states.map(state => [state, this.#button(state)]));
    #on_toggle;

    // @param on_toggle called with a state, or null for all
    constructor(bar, on_toggle) {
        this.#on_toggle = on_toggle;
        bar.append(this.#all.node, ...[...this.#buttons.values()].map(button => button.node));
    }

    #button(state) {
        const [number, word, mark] = [element('span', 'number'), element('span', 'word'), state_mark()];
        const figure = element('span', 'figure', ...(state ? [mark] : []), number);
        const node = element('button', 'count', figure, ' ', word);
        node.type = 'button';
        if (state) {
            show_mark(mark, state);
            node.dataset.state = state;
        }
        node.addEventListener('click', () => this.#on_toggle(state));
        return {node, number, word};
    }

    // @param counts state -> number, @param chosen Set of states that are shown; empty: all
    update(counts, chosen, texts) {
        const write = (button, count, key, pressed) => {
            set_text(button.number, texts.number(count));
            set_text(button.word, texts.get(key));
            set_attribute(button.node, 'aria-pressed', pressed);
            button.node.classList.toggle('none', count === 0);
        };
        const sum = Object.values(counts).reduce((total, count) => total + count, 0);
        write(this.#all, sum, 'filter.all', chosen.size === 0);
        for (const [state, button] of this.#buttons) {
            write(button, counts[state], `state.${state}`, chosen.has(state));
        }
    }
}

export class freshness {
    #fresh;
    #banner;
    #seen_since = Date.now(); // when the page was last shown; asking less often while hidden is no failure

    constructor(fresh, banner) {
        this.#fresh = fresh;
        this.#banner = banner;
        document.addEventListener('visibilitychange', () => (this.#seen_since = Date.now()));
    }

    // @param answered_at the probe's clock at its last answer, seconds; 0: none yet
    update(poller, answered_at, texts) {
        const late = Date.now() - Math.max(poller.last_answer, this.#seen_since) > late_after || poller.failures > 1;
        const [long, short] = this.#fresh.children;
        const time = answered_at ? texts.clock(answered_at) : '';
        set_text(long, time && texts.get('page.as_of', {time}));
        set_text(short, time);
        document.body.classList.toggle('away', late);
        const [title, detail] = this.#banner.children;
        this.#banner.hidden = !late;
        set_text(title, late ? texts.get('away.title') : '');
        set_text(detail, late && answered_at ? texts.get('away.shown', {time: texts.moment(answered_at)}) : '');
    }
}
