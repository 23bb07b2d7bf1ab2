// The operators' page: asks the probe for its state and shows it.

import {read_address, store_group, store_language, stored_language, write_address} from './address.js';
import {certificates} from './certificates.js';
import {curve_feed} from './curve_feed.js';
import {element, set_attribute, set_text} from './dom.js';
import {fault_times} from './fault_times.js';
import {is_filtered} from './filter.js';
import {grouping} from './grouping.js';
import {counts_bar, freshness} from './head.js';
import {model} from './model.js';
import {news} from './news.js';
import {fetch_json, poller} from './poller.js';
import {sensor_list} from './sensor_list.js';
import {choose_language, languages, texts} from './texts.js';

const tick = 1000;        // ms between two looks at the ages that are shown
const curves_every = 30;  // ticks
const most_announced = 3; // state changes that are read out one by one

const part = id => document.getElementById(id);
const known = new model();
let view = read_address();
let words = null; // the texts of the language that is shown

const times = new fault_times();
const sensors = new sensor_list(
    {area: part('sensors'), down: part('down'), faults: part('faults'), groups: part('groups')},
    times,
    () => known.now(),
    {
        seen: () => curves.refresh(),
        only: key => set_search(view.search === key ? '' : key),
        still_end: () => show(),
        fold: () => show(),
    }
);
const curves = new curve_feed(sensors);
const missed = new news(part('news'), part('attention'), () => {
    show(true);
    scrollTo(0, 0);
    part('sensors').focus({preventScroll: true});
});
const counts = new counts_bar(part('counts'), toggle_state);
const groups = new grouping(part('grouping'), label => {
    view.group = label;
    store_group(label);
    show_filter();
});
const fresh = new freshness(part('fresh'), part('banner'));
const lasting = new certificates(part('certificates'));
const polling = new poller(ask);

async function ask(signal) {
    const language = words.language;
    const since = known.revision === null ? '' : `&since=${known.revision}`;
    const answer = await fetch_json(`api/state?language=${language}${since}`, signal);
    const version = known.version;
    if (language !== words.language) {
        return; // the question in the other language is on its way
    }
    const changed = known.merge(answer);
    if (version !== null && version !== answer.version) {
        location.reload(); // this page is the former program's
    }
    times.note(changed);
    missed.note(changed);
    announce(changed.filter(([sensor, before]) => sensor.state !== before.state).map(([sensor]) => sensor));
    show();
    curves.refresh();
}

// Values change all the time and are not read out; states are.
function announce(turned) {
    const lines = turned
        .slice(0, most_announced)
        .map(sensor => words.get('change.one', {name: sensor.name, state: words.get(`state.${sensor.state}`)}));
    if (turned.length > most_announced) {
        lines.push(words.get('change.more', {n: words.number(turned.length - most_announced)}));
    }
    if (lines.length > 0) {
        part('changes').textContent = lines.join('\n');
    }
}

// @param anew whether the reader asked for another view
function show(anew = false) {
    const number = known.counts();
    const all = known.sensors.size;
    counts.update(number, view.states, words);
    const label = groups.update(known.label_names(words), view.group, words);
    const shown = sensors.update(known, {...view, label}, words, anew);
    const filtered = is_filtered(view);
    const numbers = {n: words.number(shown), all: words.number(all)};
    set_text(part('shown'), filtered ? words.get('filter.shown', numbers) : '');
    part('clear').hidden = !filtered;
    part('no-match').hidden = shown > 0;
    const answered = known.version !== null;
    part('sensors').hidden = all === 0;
    part('empty').hidden = !answered || all > 0;
    set_text(part('version'), answered ? `opcua-probe ${known.version}` : '');
    document.title = (number.error > 0 ? `(${words.number(number.error)}) ` : '') + words.get('page.title');
    fresh.update(polling, known.answered_at, words);
    missed.update(sensors.holds, words);
    lasting.update(known.certificates, words);
}

function show_filter() {
    write_address(view);
    show(true);
    curves.refresh();
}

function set_search(search) {
    part('search').value = search;
    view.search = search.trim();
    show_filter();
}

function toggle_state(state) {
    if (state === null) {
        view.states.clear();
    } else if (!view.states.delete(state)) {
        view.states.add(state);
    }
    show_filter();
}

async function speak(language) {
    words = await texts.load(language);
    document.documentElement.lang = words.tag;
    part('language').value = language;
    for (const node of document.querySelectorAll('[data-text]')) {
        set_text(node, words.get(node.dataset.text));
    }
    for (const node of document.querySelectorAll('[data-label]')) {
        set_attribute(node, 'aria-label', words.get(node.dataset.label));
    }
    set_attribute(part('search'), 'placeholder', words.get('search.hint'));
    known.revision = null; // names and messages are the probe's: all of them, in this language
}

async function switch_language(language) {
    try {
        await speak(language);
    } catch (error) {
        console.warn('no texts from the probe:', error);
        part('language').value = words.language;
        return;
    }
    view.language = language;
    store_language(language);
    show_filter();
    polling.ask_now();
}

function listen() {
    part('search').addEventListener('input', event => {
        view.search = event.target.value.trim();
        show_filter();
    });
    part('clear').addEventListener('click', () => {
        view.states.clear();
        set_search('');
        part('search').focus();
    });
    part('skip').addEventListener('click', event => {
        event.preventDefault(); // the address is the filter's
        part('sensors').focus();
    });
    part('language').addEventListener('change', event => switch_language(event.target.value));
    addEventListener('hashchange', () => {
        const language = words.language;
        view = read_address();
        set_search(view.search);
        if (view.language && choose_language([view.language]) !== language) {
            switch_language(choose_language([view.language]));
        }
    });
    addEventListener('keydown', event => {
        const typing = event.target.closest('input, select, textarea');
        if (event.key === '/' && !typing && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            part('search').focus();
            part('search').select();
        } else if (event.key === 'Escape' && event.target === part('search')) {
            set_search('');
        }
    });
}

function on_tick(count) {
    if (!document.hidden) {
        sensors.show_ages();
        fresh.update(polling, known.answered_at, words);
        if (count % curves_every === 0) {
            curves.refresh();
        }
    }
    setTimeout(on_tick, tick, count + 1);
}

// Without texts there is nothing to show: a probe that went away just now is waited for.
async function first_texts(language) {
    for (;;) {
        try {
            return await speak(language);
        } catch (error) {
            console.warn('no texts from the probe:', error);
            await new Promise(resolve => setTimeout(resolve, 2 * tick));
        }
    }
}

async function start() {
    part('language').append(
        ...Object.entries(languages).map(([code, {name, tag}]) => {
            const option = element('option', '', name);
            [option.value, option.lang] = [code, tag ?? code];
            return option;
        })
    );
    await first_texts(choose_language([view.language, stored_language(), ...navigator.languages]));
    part('search').value = view.search;
    listen();
    polling.ask_now();
    on_tick(1);
}

start();
