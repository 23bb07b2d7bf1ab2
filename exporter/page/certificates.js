// How long the certificates last that connections are secured with: this probe's own and those of servers.

import {element, fill_facts, set_attribute, set_text} from './dom.js';

const soon = 30; // days, as in the alerts

export class certificates {
    #area;
    #summary = element('summary');
    #facts = element('dl', 'facts');

    constructor(area) {
        this.#area = area;
        area.append(this.#summary, this.#facts);
    }

    // @param known [{server, name, days}]; the server is empty for the probe's own
    update(known, texts) {
        const sorted = [...known].sort((left, right) => left.days - right.days);
        this.#area.hidden = sorted.length === 0;
        if (sorted.length === 0) {
            return;
        }
        const days = ({days}) => texts.time_part(days, 'day');
        set_attribute(this.#area, 'data-state', sorted[0].days < soon ? 'warning' : 'ok');
        set_text(this.#summary, texts.get('certificates.first', {days: days(sorted[0])}));
        fill_facts(this.#facts, sorted.map(certificate =>
            [certificate.server || texts.get('certificates.own'), `${days(certificate)} (${certificate.name})`]));
    }
}
