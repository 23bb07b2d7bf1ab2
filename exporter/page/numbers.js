// Numbers of a channel in the reader's language: its value as the probe wrote it, and what comes unformatted, limits
// and extremes, in the look of the value.

const significant = 4; // digits at a glance; the details have all
const powers = [1, 2, 3, 4, 5];
const magnitudes = powers.flatMap(power => [1024 ** -power, 1000 ** -power, 1000 ** power]);
const usual_factors = [1, ...magnitudes, 1 / 60, 1 / 3600];
const time_span = /^-?\d+ (?:d|h|min)\b/;
const time_parts = [[86400, 'day'], [3600, 'hour'], [60, 'minute'], [1, 'second']];
const time_words = /(\d+) (d|h|min|s)\b/g;
const time_names = {d: 'day', h: 'hour', min: 'minute', s: 'second'}; // as the probe writes them

export const is_time_span = ({value}) => time_span.test(value);

// The two largest parts of a number of seconds: "2 d 4 h".
function format_time_span(seconds, texts) {
    const size = Math.abs(seconds);
    const first = time_parts.findIndex(([length]) => size >= length);
    let rest = Math.trunc(size);
    const words = time_parts.slice(first, first < 0 ? undefined : first + 2).map(([length, name]) => {
        const count = Math.trunc(rest / length);
        rest -= count * length;
        return texts.time_part(count, name);
    });
    return (seconds < 0 ? '-' : '') + words.join(' ');
}

// What the number that limits and curves are in was multiplied with to become the one that is shown: 8295157937 as
// "7.7" GiB by 1 / 1024³. The roundest factor wins that explains the shown value within its rounding.
// @return NaN when there is none
function factor_of(channel, shown, decimals) {
    if (shown === 0 || !Number.isFinite(channel.scaled)) {
        return shown === channel.scaled ? 1 : NaN;
    }
    const rounding = 0.505 * 10 ** -decimals;
    const ratio = shown / channel.scaled;
    const rounded = powers.slice(0, 3).map(digits => Number(ratio.toPrecision(digits)));
    return [...usual_factors, ...rounded].find(factor => Math.abs(channel.scaled * factor - shown) <= rounding) ?? NaN;
}

// Cuts the decimals that nobody reads at a glance; digits before the point stay, however many.
function shortened(value) {
    const decimals = /^-?\d+\.(\d+)$/.exec(value)?.[1].length ?? 0;
    const size = Math.abs(Number(value));
    if (decimals === 0 || size === 0) {
        return value;
    }
    const places = significant - 1 - Math.floor(Math.log10(size));
    return Number(value).toFixed(Math.min(Math.max(places, 0), decimals));
}

// @return the value's text, without the unit
// @param exactly with all digits that the probe sent
export function value_text({value, lookup}, texts, exactly = false) {
    if (lookup) {
        return value;
    }
    if (is_time_span({value})) {
        return value.replace(time_words, (_, count, name) => texts.time_part(Number(count), time_names[name]));
    }
    return texts.decimal(exactly ? value : shortened(value));
}

// How a channel's numbers, as its limits and curves have them, become the ones that are shown.
// @return {factor, decimals, unit}: factor 1 and no unit when it could not be found
export function scale_of(channel) {
    const shown = channel.lookup || channel.value.trim() === '' ? NaN : Number(channel.value);
    const decimals = /\.(\d+)$/.exec(channel.value)?.[1].length ?? 0;
    const factor = factor_of(channel, shown, decimals);
    return Number.isFinite(factor) ? {factor, decimals, unit: channel.unit} : {factor: 1, decimals, unit: ''};
}

// @return number of a limit or curve => text, with the unit where the scale of the shown value could be found
export function number_format(channel, texts) {
    if (is_time_span(channel)) {
        return number => format_time_span(number, texts);
    }
    const {factor, decimals, unit} = scale_of(channel);
    return number => {
        const value = number * factor;
        const rounded = Math.abs(value) < 1 ? value.toPrecision(3) : value.toFixed(Math.max(decimals, 2));
        return texts.decimal(String(Number(rounded))) + (unit ? `\u00a0${unit}` : '');
    };
}
