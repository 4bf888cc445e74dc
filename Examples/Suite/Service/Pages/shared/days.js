'use strict';

// Days without times: each is the number of days since the first of January 1970. What an address or a message says
// about a day is text, such as 2026-11-21.
(() => {
    const milliseconds = 24 * 60 * 60 * 1000;
    const weekdays = ['sunday', 'monday', 'tuesday', 'wednesday', 'thursday', 'friday', 'saturday'];
    const months = ['january', 'february', 'march', 'april', 'may', 'june', 'july', 'august', 'september', 'october',
        'november', 'december'];

    // A month may lie outside of its year: month 12 is the January after. Nothing here is before the year 1.
    function dayOf(year, month, day) {
        const date = new Date(0);
        date.setUTCFullYear(year, month, day);
        return date.getTime() / milliseconds;
    }

    const first = dayOf(1, 0, 1);
    const last = dayOf(9999, 11, 31);
    const within = (day) => Math.min(Math.max(day, first), last);

    const date = (day) => new Date(day * milliseconds);
    function parts(day) {
        const at = date(day);
        return { year: at.getUTCFullYear(), month: at.getUTCMonth(), day: at.getUTCDate(), weekday: at.getUTCDay() };
    }

    const lengthOfMonth = (year, month) => dayOf(year, month + 1, 1) - dayOf(year, month, 1);

    // The day that a text says, or null: a day that there is, and nothing else.
    function parse(text) {
        const found = /^(\d{4})-(\d{2})-(\d{2})$/.exec(text ?? '');
        if (!found)
            return null;
        const [year, month, day] = found.slice(1).map(Number);
        const exists = year >= 1 && month >= 1 && month <= 12 && day >= 1 && day <= lengthOfMonth(year, month - 1);
        return exists ? dayOf(year, month - 1, day) : null;
    }

    function text(day) {
        const at = parts(day);
        const padded = (number, length) => String(number).padStart(length, '0');
        return `${padded(at.year, 4)}-${padded(at.month + 1, 2)}-${padded(at.day, 2)}`;
    }

    function today() {
        const now = new Date();
        return dayOf(now.getFullYear(), now.getMonth(), now.getDate());
    }

    // The same day some months later, or the last one of a month that is too short for it.
    function addMonths(day, count) {
        const at = parts(day);
        const begin = parts(within(dayOf(at.year, at.month + count, 1)));
        return within(dayOf(begin.year, begin.month, Math.min(at.day, lengthOfMonth(begin.year, begin.month))));
    }

    // On which day of the week a week begins, where Sunday is 0: as the user's language has it.
    function firstWeekday() {
        try {
            const locale = new Intl.Locale(navigator.language);
            const week = locale.getWeekInfo?.() ?? locale.weekInfo;
            return Number.isInteger(week?.firstDay) ? week.firstDay % 7 : 1;
        } catch {
            return 1;
        }
    }

    const startOfWeek = (day, firstDay) => day - (parts(day).weekday - firstDay + 7) % 7;

    // The weeks that have a day of a month, each a list of seven days.
    function weeksOfMonth(year, month, firstDay) {
        const begin = startOfWeek(dayOf(year, month, 1), firstDay);
        const end = dayOf(year, month, lengthOfMonth(year, month));
        const weeks = [];
        for (let week = begin; week <= end; week += 7)
            weeks.push(Array.from({ length: 7 }, (_, index) => week + index));
        return weeks;
    }

    // The number of the week that a day is in, by the Thursday of that week. Source: ISO 8601.
    function weekNumber(day) {
        const thursday = startOfWeek(day, 1) + 3;
        return Math.floor((thursday - dayOf(parts(thursday).year, 0, 1)) / 7) + 1;
    }

    // ----------------------------------------------------------------------------------------- days in running text

    const monthNames = months.map((name) => `${name}|${name.slice(0, 3)}\\.?`).join('|');
    const mention = new RegExp([
        String.raw`\b(?<iso>\d{4}-\d{2}-\d{2})\b`,
        String.raw`\b(?<before>\d{1,2})(?:st|nd|rd|th|\.)? (?<monthAfter>${monthNames})\b(?: (?<yearAfter>\d{4})\b)?`,
        String.raw`\b(?<monthBefore>${monthNames}) (?<after>\d{1,2})(?:st|nd|rd|th)?\b(?:, (?<yearBefore>\d{4})\b)?`,
        String.raw`\b(?<near>today|tonight|tomorrow)\b`,
        String.raw`\b(?<weekday>${weekdays.join('|')})s?\b`,
        String.raw`\bthe (?<ordinal>\d{1,2})(?:st|nd|rd|th)\b`,
    ].join('|'), 'giu');

    const monthNamed = (name) => months.findIndex((month) => month.startsWith(name.toLowerCase().slice(0, 3)));
    const existing = (year, month, day) => (day >= 1 && day <= lengthOfMonth(year, month) ? dayOf(year, month, day) : null);

    function dayMeant(groups, written) {
        const at = parts(written);
        if (groups.iso)
            return parse(groups.iso);
        if (groups.near)
            return groups.near.toLowerCase() === 'tomorrow' ? written + 1 : written;
        if (groups.weekday) // the next one; whoever writes on a Friday means the same day by it
            return written + (weekdays.indexOf(groups.weekday.toLowerCase()) - at.weekday + 7) % 7;
        if (groups.ordinal) {
            const day = Number(groups.ordinal);
            const next = parts(dayOf(at.year, at.month + (day < at.day ? 1 : 0), 1));
            return existing(next.year, next.month, day);
        }
        const month = monthNamed(groups.monthAfter ?? groups.monthBefore);
        const year = groups.yearAfter ?? groups.yearBefore;
        return existing(year ? Number(year) : at.year, month, Number(groups.before ?? groups.after));
    }

    // A text in pieces, of which some mention a day: `{ text, day }`, where `day` is null in between. A text that was
    // written on one day calls others by it.
    function mentions(running, written) {
        const pieces = [];
        let end = 0;
        for (const found of running.matchAll(mention)) {
            const day = dayMeant(found.groups, written);
            if (day === null)
                continue;
            if (found.index > end)
                pieces.push({ text: running.slice(end, found.index), day: null });
            pieces.push({ text: found[0], day });
            end = found.index + found[0].length;
        }
        if (end < running.length)
            pieces.push({ text: running.slice(end), day: null });
        return pieces;
    }

    // A format for days, in the user's language.
    function format(options) {
        const made = new Intl.DateTimeFormat(undefined, { ...options, timeZone: 'UTC' });
        return (day) => made.format(date(day));
    }

    window.LumoDays = Object.freeze({
        first, last, within, dayOf, parts, lengthOfMonth, parse, text, today, addMonths, firstWeekday, startOfWeek,
        weeksOfMonth, weekNumber, mentions, format,
    });
})();
