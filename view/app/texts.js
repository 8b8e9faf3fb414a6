// What people read, in their language, and how numbers, sizes, dates and places are written in it.

const rightToLeft = ['ar'];
let texts = {};
let problems = {};
let language = 'en';
// Made when they are first used: the first of a page takes tens of milliseconds.
const formats = new Map();

/** Fetches the texts of a language, and sets the language and direction of the document. */
export async function loadTexts(tag) {
    const [answer, others] = await Promise.all([fetch(`/texts/${tag}.json`), fetch(`/texts/problems/${tag}.json`)]);
    if (!answer.ok)
        throw new Error(`there are no texts for ${tag}`);
    texts = await answer.json();
    problems = (others.ok && await others.json()) || {}; // there are none in English
    language = tag;
    formats.clear();
    document.documentElement.lang = tag;
    document.documentElement.dir = rightToLeft.includes(tag) ? 'rtl' : 'ltr';
}

/**
 * The text of a key. `{name}` stands for a value. A text with plurals is chosen by the value `n`, which is shown as a
 * number in the language.
 */
export function t(key, values = {}) {
    let text = texts[key] ?? key;
    if (typeof text === 'object')
        text = text[format(Intl.PluralRules, 'plurals').select(values.n)] ?? text.other;
    return text.replace(/\{(\w+)\}/g, (_, name) => (name === 'n' ? number(values.n) : String(values[name] ?? '')));
}

/**
 * What the server says is wrong, in the language of the page; null where there is no translation. A sentence of advice
 * behind the problem is translated by itself.
 */
export function translation(text) {
    const find = (english) => (Object.hasOwn(problems, english) ? problems[english] : null);
    const whole = find(text);
    const end = text.indexOf('. ');
    if (whole || end < 0)
        return whole;
    const sentence = find(text.slice(0, end)), advice = text.slice(end + 2);
    return sentence && sentence + (find('. ') ?? '. ') + (find(advice) ?? advice);
}

export const number = (value) => format(Intl.NumberFormat, 'number').format(value);

/** Without a separator of thousands. */
export const plainNumber = (value) => format(Intl.NumberFormat, 'plain', {useGrouping: false}).format(value);

export function bytes(value) {
    const units = ['byte', 'kilobyte', 'megabyte', 'gigabyte'];
    let step = 0;
    while (value >= 1000 && step < units.length - 1) {
        value /= 1000;
        step += 1;
    }
    return format(Intl.NumberFormat, `unit${step}`, {style: 'unit', unit: units[step], unitDisplay: 'short',
                                                    maximumFractionDigits: step > 1 ? 1 : 0}).format(value);
}

export const exactBytes = (value) =>
    format(Intl.NumberFormat, 'exactBytes', {style: 'unit', unit: 'byte', unitDisplay: 'long'}).format(value);

function format(Kind, name, options) {
    if (!formats.has(name))
        formats.set(name, new Kind(language, options));
    return formats.get(name);
}

// Clock texts such as "2019-08-05T12:40:11+02:00" are shown as the camera's clock showed them.
const clock = (text) => new Date(`${text.slice(0, 10)}T${text.slice(11, 19) || '00:00:00'}Z`);

const dated = (name, options) => (text) =>
    format(Intl.DateTimeFormat, name, {...options, timeZone: 'UTC'}).format(clock(text));

const dayThisYear = dated('dayThisYear', {weekday: 'short', day: 'numeric', month: 'long'});
const dayOtherYear = dated('dayOtherYear', {day: 'numeric', month: 'long', year: 'numeric'});
export const day = (text) =>
    (Number(text.slice(0, 4)) === new Date().getFullYear() ? dayThisYear : dayOtherYear)(text);
export const fullDay = dated('fullDay', {weekday: 'long', day: 'numeric', month: 'long', year: 'numeric'});
export const month = dated('month', {month: 'long', year: 'numeric'});
export const year = dated('year', {year: 'numeric'});
export const moment = dated('moment', {dateStyle: 'medium', timeStyle: 'short'});

/** From one day to another, such as "5 – 7 Aug". */
export const dayRange = (first, last) => {
    const year = first.slice(0, 4) === last.slice(0, 4) ? undefined : 'numeric';
    return format(Intl.DateTimeFormat, `dayRange ${year}`, {day: 'numeric', month: 'short', year, timeZone: 'UTC'})
        .formatRange(clock(first), clock(last));
};

/** The names of the twelve months in the page's language and in English, lower-case, with their numbers from 1. */
export function monthNames() {
    const names = new Map();
    for (const tag of ['en', language]) {
        for (const style of ['long', 'short']) {
            // Some languages write the name differently inside a date.
            for (const parts of [{month: style}, {month: style, day: 'numeric', year: 'numeric'}]) {
                const form = new Intl.DateTimeFormat(tag, {...parts, timeZone: 'UTC'});
                for (let index = 0; index < 12; index += 1) {
                    const part = form.formatToParts(Date.UTC(2020, index, 1)).find(({type}) => type === 'month');
                    names.set(part.value.toLowerCase().replace(/\.$/, ''), index + 1);
                }
            }
        }
    }
    return names;
}

export function duration(seconds) {
    const whole = Math.round(seconds);
    const two = (value) => String(value).padStart(2, '0');
    const hours = Math.floor(whole / 3600);
    const minutes = Math.floor(whole / 60) % 60;
    return hours ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

const degrees = (value, digits, positive, negative) =>
    `${format(Intl.NumberFormat, `degrees${digits}`, {minimumFractionDigits: digits, maximumFractionDigits: digits})
        .format(Math.abs(value))}° ${t(value < 0 ? negative : positive)}`;

/** A text that runs from left to right in every language. */
export const leftToRight = (text) => `\u2066${text}\u2069`;

export const pixels = ({width, height}) => leftToRight(`${number(width)} × ${number(height)}`);

/** Coordinates as people read them. */
export const place = ({latitude, longitude}, digits = 2) =>
    leftToRight(`${degrees(latitude, digits, 'place.north', 'place.south')}, ` +
                degrees(longitude, digits, 'place.east', 'place.west'));
