// The last hour of a channel as a small picture: a line with a band from the lowest to the highest value of each step,
// gaps where there was no good scan, and the channel's limits as thin lines.

import {set_attribute, set_text, svg_element} from './dom.js';

const height = 100; // of the picture's own coordinates; its width is the number of steps
const margin = 8;   // free above and below the band
const limit_kinds = {lower_error: 'error', lower_warning: 'warning', upper_warning: 'warning', upper_error: 'error'};
// Limits count for the scale as long as they leave the band this share of the height.
const smallest_share = 0.4;
const flat_span = 0.02; // of the value: what a curve without any change spans

// @return {low, high} of all steps; null when none has values
export function extremes(curve) {
    const lows = curve.low.filter(Number.isFinite);
    const highs = curve.high.filter(Number.isFinite);
    return lows.length > 0 && highs.length > 0 ? {low: Math.min(...lows), high: Math.max(...highs)} : null;
}

function scale_of({low, high}, limits) {
    const least = Math.max(Math.abs(low), Math.abs(high)) * flat_span || 1;
    const middle = (low + high) / 2;
    const half = Math.max(high - low, least) / 2;
    const scale = {low: middle - half, high: middle + half};
    const widest = (2 * half) / smallest_share;
    for (const limit of Object.values(limits).sort((a, b) => Math.abs(a - middle) - Math.abs(b - middle))) {
        const [wider_low, wider_high] = [Math.min(scale.low, limit), Math.max(scale.high, limit)];
        if (wider_high - wider_low <= widest) {
            [scale.low, scale.high] = [wider_low, wider_high];
        }
    }
    return scale;
}

// @return first and end of each run of steps with values
function runs_of(curve) {
    const runs = [];
    curve.low.forEach((low, step) => {
        if (Number.isFinite(low) && Number.isFinite(curve.high[step])) {
            const last = runs.at(-1);
            if (last?.end === step) {
                last.end += 1;
            } else {
                runs.push({first: step, end: step + 1});
            }
        }
    });
    return runs;
}

// @return points from the left edge of a run's first step to the right edge of its last: a single step can be seen, too
function points(run, values, y) {
    const inner = values.slice(run.first, run.end).map((value, index) => `${run.first + index + 0.5} ${y(value)}`);
    return [`${run.first} ${y(values[run.first])}`, ...inner, `${run.end} ${y(values[run.end - 1])}`];
}

// @return an empty picture; its title is what a screen reader says
export function new_curve() {
    const parts = ['grid', 'band', 'limit error', 'limit warning', 'trace'].map(name => svg_element('path', {class: name}));
    const attributes = {class: 'curve', role: 'img', preserveAspectRatio: 'none'};
    return svg_element('svg', attributes, svg_element('title'), ...parts);
}

// @param curve {low, high}: as many values each, oldest first; null: no good scan
// @param limits as the probe sends them, maybe empty
// @param ticks (lowest, highest) => values to draw lines at
// @return [value, its height as a share of the picture's, from the top] for each tick
export function draw_curve(picture, curve, limits, ticks) {
    const [, ...parts] = picture.children;
    const steps = curve.low.length;
    set_attribute(picture, 'viewBox', `0 0 ${steps} ${height}`);
    const range = extremes(curve);
    if (range === null) {
        parts.forEach(part => set_attribute(part, 'd', ''));
        return [];
    }
    const scale = scale_of(range, limits);
    const unit = (height - 2 * margin) / (scale.high - scale.low);
    const y = value => (height - margin - (value - scale.low) * unit).toFixed(1);
    const level = value => `M0 ${y(value)}H${steps}`;
    const limit_lines = kind =>
        Object.entries(limits)
            .filter(([name, value]) => limit_kinds[name] === kind && value >= scale.low && value <= scale.high)
            .map(([, value]) => level(value))
            .join('');
    const marked = ticks(scale.low - margin / unit, scale.high + margin / unit);
    const runs = runs_of(curve);
    const middle = curve.low.map((low, step) => (low + curve.high[step]) / 2);
    const band = run => [...points(run, curve.high, y), ...points(run, curve.low, y).reverse()];
    const bands = runs.map(run => `M${band(run).join('L')}Z`);
    const lines = runs.map(run => `M${points(run, middle, y).join('L')}`);
    const paths = [marked.map(level).join(''), bands.join(''), limit_lines('error'), limit_lines('warning'), lines.join('')];
    parts.forEach((part, index) => set_attribute(part, 'd', paths[index]));
    return marked.map(value => [value, y(value) / height]);
}

export function label_curve(picture, text) {
    set_text(picture.firstElementChild, text);
}
