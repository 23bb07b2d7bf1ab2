// The axes of a curve in a sensor's details: round values at its side, times under it.

import {element, set_text} from './dom.js';
import {is_time_span, number_format, scale_of} from './numbers.js';

const most_ticks = 4;
const round_steps = [1, 2, 2.5, 5, 10];
const round_spans = [1, 5, 15, 30, 60, 300, 900, 1800, 3600, 7200, 21600, 43200, 86400]; // seconds; then whole days

// @return the smallest round step that leaves at most so many ticks
function step_for(span, time_span) {
    const least = span / most_ticks;
    const power = 10 ** Math.floor(Math.log10(least));
    const spans = time_span ? round_spans : [];
    return spans.find(step => step >= least) ?? round_steps.map(step => step * power).find(step => step >= least);
}

// @return (lowest, highest) => numbers of the curve that are round where the channel's values are shown
export function ticks_for(channel) {
    if (channel.lookup) {
        return () => []; // its numbers stand for words
    }
    const {factor} = scale_of(channel);
    return (lowest, highest) => {
        const [low, high] = [lowest * factor, highest * factor].sort((left, right) => left - right);
        const step = step_for(high - low, is_time_span(channel));
        const first = Math.ceil(low / step);
        const count = Math.max(0, Math.floor(high / step) - first + 1);
        const length = Number.isFinite(count) ? count : 0;
        return Array.from({length}, (_, index) => ((first + index) * step) / factor);
    };
}

export class curve_axes {
    values = element('span', 'value-axis');
    times = element('span', 'axis', element('span'), element('span'), element('span'));

    // @param ticks [value, height as a share from the top], as draw_curve() returns them
    // @param length of the curve and @param end of it, seconds
    update(channel, ticks, length, end, texts) {
        const format = number_format(channel, texts);
        const marks = ticks.map(([value, height]) => {
            const mark = element('span', '', format(value));
            mark.style.top = `${height * 100}%`;
            return mark;
        });
        this.values.replaceChildren(...marks);
        [...this.times.children].forEach((mark, index) => {
            set_text(mark, texts.hour_and_minute(end - length * (1 - index / 2)));
        });
    }
}
