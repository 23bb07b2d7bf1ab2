// The page's own texts, numbers and times in the reader's language.

import {fetch_json} from './poller.js';

// Code as the probe takes it -> the language's own name, and its tag where that differs.
export const languages = {
    de: {name: 'Deutsch'},
    en: {name: 'English'},
    es: {name: 'Español'},
    fr: {name: 'Français'},
    ja: {name: '日本語'},
    nl: {name: 'Nederlands'},
    pt: {name: 'Português (Brasil)', tag: 'pt-BR'},
    ru: {name: 'Русский'},
    zh: {name: '简体中文', tag: 'zh-Hans'},
};

const minute = 60;
const hour = 60 * minute;
const day = 24 * hour;

// @param wishes language tags, the best first; null entries are passed over
// @return the code of the first that the page speaks, else English
export function choose_language(wishes) {
    const codes = wishes.filter(Boolean).map(wish => wish.toLowerCase().split('-')[0]);
    return codes.find(code => Object.hasOwn(languages, code)) ?? 'en';
}

export class texts {
    #table;
    #distance;
    #decimal_sign;
    #time_parts;

    // @param table key -> text with {placeholders}
    constructor(language, table) {
        this.language = language;
        this.tag = languages[language].tag ?? language;
        this.#table = table;
        this.#distance = new Intl.RelativeTimeFormat(this.tag, {style: 'short', numeric: 'auto'});
        const parts = new Intl.NumberFormat(this.tag).formatToParts(0.5);
        this.#decimal_sign = parts.find(({type}) => type === 'decimal').value;
        this.#time_parts = Object.fromEntries(['day', 'hour', 'minute', 'second'].map(unit =>
            [unit, new Intl.NumberFormat(this.tag, {style: 'unit', unit, maximumFractionDigits: 3})]));
        const time_format = options => {
            const format = new Intl.DateTimeFormat(this.tag, options);
            return time => format.format(time * 1000);
        };
        // Each takes seconds since 1970.
        this.clock = time_format({timeStyle: 'medium'});
        this.hour_and_minute = time_format({timeStyle: 'short'});
        this.day_and_minute = time_format({month: 'short', day: 'numeric', hour: 'numeric', minute: '2-digit'});
        this.moment = time_format({dateStyle: 'medium', timeStyle: 'medium'});
        this.number = new Intl.NumberFormat(this.tag).format;
        this.compare = new Intl.Collator(this.tag, {numeric: true}).compare;
    }

    static async load(language) {
        return new texts(language, await fetch_json(`texts/${language}.json`));
    }

    get(key, values = {}) {
        const text = this.#table[key] ?? key;
        return text.replace(/\{(\w+)\}/g, (whole, name) => values[name] ?? whole);
    }

    // @param text a number as the probe and JavaScript write it; it keeps its digits
    decimal(text) {
        return text.replace('.', this.#decimal_sign);
    }

    // The time of day, with the date unless that is today's.
    short_moment(time, now) {
        const day_of = moment => new Date(moment * 1000).toDateString();
        return day_of(time) === day_of(now) ? this.hour_and_minute(time) : this.day_and_minute(time);
    }

    // @param unit day, hour, minute or second
    time_part(count, unit) {
        return this.#time_parts[unit].format(count);
    }

    // How far off a time is, in steps coarse enough to read: "now", "20 sec. ago", "in 5 sec.", "3 min. ago".
    distance(time, now) {
        const away = Math.round(time - now);
        const size = Math.abs(away);
        if (size < minute) {
            const step = away < 0 ? 10 : 1;
            return this.#distance.format(Math.trunc(away / step) * step + 0, 'second');
        }
        const [unit, length] = size < hour ? ['minute', minute] : size < day ? ['hour', hour] : ['day', day];
        return this.#distance.format(Math.trunc(away / length), unit);
    }
}
