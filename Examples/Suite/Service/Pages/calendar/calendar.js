'use strict';

(() => {
    const { element, post, report, fetchJson, make, makeIcon, toneInTurn, plural } = window.LumoSuite;
    const days = window.LumoDays;

    // What is shown: the month of the chosen day, and of that day all that happens.
    const state = {
        owner: { name: '', address: '' },
        chosen: days.today(),
        firstWeekday: days.firstWeekday(),
        weekNumbers: false,
        events: new Map(), // by day; days of other months are kept, but asked for again
        names: [], // of the calendars that there are
        hidden: new Set(), // those that are not shown
        ready: false,
        failed: false,
        reported: null,
    };

    const month = () => days.parts(state.chosen);
    const eventsOf = (day) => (state.events.get(day) ?? []).filter((event) => !state.hidden.has(event.calendar));
    const toneOf = (event) => toneInTurn(event.calendar, state.names);

    const formats = {
        month: days.format({ month: 'long', year: 'numeric' }),
        weekday: days.format({ weekday: 'short' }),
        weekdayLong: days.format({ weekday: 'long' }),
        whole: days.format({ weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' }),
        title: days.format({ weekday: 'long', day: 'numeric', month: 'long' }),
        begin: days.format({ day: 'numeric', month: 'short' }),
    };

    // --------------------------------------------------------------------------------------------------- server

    let asked = 0;

    // Gets what happens in the month that is shown; an answer for one that was left meanwhile is only kept.
    async function load() {
        const weeks = days.weeksOfMonth(month().year, month().month, state.firstWeekday);
        const from = days.within(weeks[0][0]);
        const to = days.within(weeks.at(-1)[6]);
        const mine = ++asked;
        try {
            const answer = await fetchJson(`/api/events?from=${days.text(from)}&to=${days.text(to)}`);
            state.owner = answer.owner;
            for (let day = from; day <= to; ++day)
                state.events.set(day, []);
            for (const event of answer.events)
                state.events.get(days.parse(event.date))?.push(event);
            state.names = answer.calendars;
            if (mine === asked)
                state.failed = false;
        } catch (error) {
            if (mine === asked)
                state.failed = true;
            report(error.message, '/api/events');
        }
        if (mine !== asked)
            return;
        renderAll();
        if (!state.failed && !state.ready) {
            state.ready = true;
            post('calendarReady', { owner: state.owner, date: days.text(state.chosen) });
        }
        reportDay();
    }

    // A day is told of once its events are known.
    function reportDay() {
        const date = days.text(state.chosen);
        if (!state.ready || !state.events.has(state.chosen) || state.reported === date)
            return;
        state.reported = date;
        post('dayShown', { date, title: formats.whole(state.chosen), events: state.events.get(state.chosen).length });
    }

    // -------------------------------------------------------------------------------------------------- actions

    function show(day, { focus = false } = {}) {
        const before = month();
        state.chosen = days.within(day);
        const address = new URL(location.href);
        address.searchParams.set('date', days.text(state.chosen));
        history.replaceState(null, '', address);
        const after = month();
        if (before.year !== after.year || before.month !== after.month)
            load();
        renderAll();
        reportDay();
        if (focus)
            element('grid').querySelector('[tabindex="0"]')?.focus();
    }

    const move = (count) => () => show(state.chosen + count, { focus: true });
    const moveMonths = (count) => (event) => show(days.addMonths(state.chosen, count), { focus: event?.type === 'keydown' });
    const weekday = () => days.startOfWeek(state.chosen, state.firstWeekday);

    const gridKeys = {
        ArrowLeft: move(-1),
        ArrowRight: move(1),
        ArrowUp: move(-7),
        ArrowDown: move(7),
        Home: () => show(weekday(), { focus: true }),
        End: () => show(weekday() + 6, { focus: true }),
    };
    const pageKeys = {
        PageUp: (event) => moveMonths(event.shiftKey ? -12 : -1)(event),
        PageDown: (event) => moveMonths(event.shiftKey ? 12 : 1)(event),
        t: () => show(days.today()),
        '?': () => element('keys').showModal(),
    };

    function pageKey(event) {
        if (event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey || element('keys').open)
            return;
        const inGrid = element('grid').contains(event.target) || event.target === document.body;
        const action = (inGrid && gridKeys[event.key]) || pageKeys[event.key];
        if (!action)
            return;
        event.preventDefault();
        action(event);
    }

    function toggleCalendar(name) {
        if (!state.hidden.delete(name))
            state.hidden.add(name);
        renderAll();
    }

    // ------------------------------------------------------------------------------------------------ rendering

    function renderCalendars() {
        const focused = document.activeElement?.dataset?.calendar;
        element('calendars').replaceChildren(...state.names.map((name) => {
            const item = make('li');
            const button = make('button', `folder calendar ${toneInTurn(name, state.names)}`);
            button.type = 'button';
            button.dataset.calendar = name;
            button.title = name;
            button.setAttribute('role', 'checkbox');
            button.setAttribute('aria-checked', String(!state.hidden.has(name)));
            button.append(make('span', 'label-dot'), make('span', 'folder-name', name));
            item.append(button);
            return item;
        }));
        element('calendars-heading').hidden = !state.names.length;
        if (focused)
            document.querySelector(`[data-calendar="${CSS.escape(focused)}"]`)?.focus();
    }

    function makeChip(event) {
        const chip = make('span', `event-chip ${toneOf(event)}`);
        chip.classList.toggle('whole-day', !event.start);
        if (event.start)
            chip.append(make('span', 'event-time', event.start));
        chip.append(make('span', 'event-name', event.title));
        return chip;
    }

    function makeDay(day, room) {
        const at = days.parts(day);
        const events = eventsOf(day);
        const cell = make('div', 'cell');
        cell.setAttribute('role', 'gridcell');
        cell.dataset.day = days.text(day);
        cell.tabIndex = day === state.chosen ? 0 : -1;
        cell.setAttribute('aria-selected', String(day === state.chosen));
        cell.setAttribute('aria-label', [formats.whole(day), plural(events.length, 'event', 'events')].join(', '));
        if (day === days.today())
            cell.setAttribute('aria-current', 'date');
        cell.classList.toggle('other', at.month !== month().month);
        cell.classList.toggle('weekend', at.weekday === 0 || at.weekday === 6);
        const number = make('span', 'cell-number', at.day === 1 ? formats.begin(day) : String(at.day));
        number.classList.toggle('named', at.day === 1);
        cell.append(number);
        // The last line says how many more there are where they are too many.
        const shown = events.length > room ? events.slice(0, Math.max(room - 1, 0)) : events;
        cell.append(...shown.map(makeChip));
        if (shown.length < events.length)
            cell.append(make('span', 'more', `${events.length - shown.length} more`));
        return cell;
    }

    const linesPerCell = (weeks) => {
        const height = (element('grid').clientHeight - 30) / weeks;
        return Math.max(0, Math.floor((height - 34) / 21));
    };

    function renderGrid() {
        const weeks = days.weeksOfMonth(month().year, month().month, state.firstWeekday);
        const grid = element('grid');
        const hadFocus = grid.contains(document.activeElement);
        const room = linesPerCell(weeks.length);
        const head = make('div', 'week-head');
        head.setAttribute('role', 'row');
        head.append(make('span', 'week-number'), ...weeks[0].map((day) => {
            const name = make('span', 'weekday', formats.weekday(day));
            name.setAttribute('role', 'columnheader');
            name.setAttribute('aria-label', formats.weekdayLong(day));
            return name;
        }));
        grid.classList.toggle('numbered', state.weekNumbers);
        grid.replaceChildren(head, ...weeks.map((week) => {
            const row = make('div', 'week');
            row.setAttribute('role', 'row');
            const thursday = week.find((day) => days.parts(day).weekday === 4);
            const number = make('span', 'week-number', String(days.weekNumber(thursday)));
            number.setAttribute('aria-hidden', 'true');
            const known = (day) => day >= days.first && day <= days.last;
            row.append(number, ...week.map((day) => (known(day) ? makeDay(day, room) : make('div', 'cell other'))));
            return row;
        }));
        if (hadFocus)
            grid.querySelector('[tabindex="0"]')?.focus();
        element('month-title').textContent = formats.month(state.chosen);
        document.title = `${formats.month(state.chosen)} – Lumo for Calendar`;
    }

    function nearness(day) {
        const away = day - days.today();
        if (away === 0)
            return 'Today';
        if (away === 1 || away === -1)
            return away === 1 ? 'Tomorrow' : 'Yesterday';
        if (Math.abs(away) > 60)
            return `Week ${days.weekNumber(day)}`;
        return away > 0 ? `In ${away} days` : `${-away} days ago`;
    }

    function makeDetail(icon, text) {
        const line = make('p', 'event-detail');
        line.append(makeIcon(icon), make('span', '', text));
        return line;
    }

    function makeEvent(event) {
        const item = make('li', `event ${toneOf(event)}`);
        item.append(make('p', 'event-when', event.start ? `${event.start} – ${event.end}` : 'All day'));
        item.append(make('h3', 'event-title', event.title));
        if (event.place)
            item.append(makeDetail('place', event.place));
        if (event.people.length)
            item.append(makeDetail('people', event.people.join(', ')));
        item.append(make('span', 'chip', event.calendar));
        return item;
    }

    function renderDay() {
        const events = eventsOf(state.chosen);
        element('day-title').textContent = formats.title(state.chosen);
        element('day-near').textContent = nearness(state.chosen);
        element('events').replaceChildren(...events.map(makeEvent));
        const known = state.events.has(state.chosen);
        element('day-empty').hidden = events.length > 0 || !(known || state.failed);
        element('retry').hidden = !state.failed;
        element('day-empty-picture').setAttribute('href', state.failed ? '#icon-cloud' : '#icon-sun');
        element('day-empty-title').textContent = state.failed ? 'No connection' : 'Nothing planned';
        element('day-empty-text').textContent = state.failed
            ? 'The events could not be loaded.' : 'The whole day is yours.';
    }

    function renderAll() {
        window.LumoSuite.renderOwner(state.owner);
        renderCalendars();
        renderGrid();
        renderDay();
    }

    // ----------------------------------------------------------------------------------- what the host may call

    window.LumoCalendar = Object.freeze({
        // Shows a day, such as "2026-11-21"; answers whether there is such a day.
        show(text) {
            const day = days.parse(String(text ?? ''));
            if (day === null)
                return false;
            state.reported = null; // it is told again
            show(day);
            return true;
        },
        today: () => show(days.today()),
        previousMonth: () => show(days.addMonths(state.chosen, -1)),
        nextMonth: () => show(days.addMonths(state.chosen, 1)),
        showWeekNumbers(shown) {
            state.weekNumbers = Boolean(shown);
            renderGrid();
        },
    });

    function connect() {
        const onClick = (id, action) => element(id).addEventListener('click', action);
        document.addEventListener('keydown', pageKey);
        onClick('grid', (event) => {
            const day = days.parse(event.target.closest('[data-day]')?.dataset.day);
            if (day !== null)
                show(day, { focus: true });
        });
        onClick('calendars', (event) => {
            const name = event.target.closest('[data-calendar]')?.dataset.calendar;
            if (name !== undefined)
                toggleCalendar(name);
        });
        onClick('today-button', () => show(days.today()));
        onClick('previous-button', moveMonths(-1));
        onClick('next-button', moveMonths(1));
        onClick('retry', load);
        onClick('keys-button', pageKeys['?']);
        window.addEventListener('resize', renderGrid);
        // Today is another day after midnight, also on a page that nobody reloads.
        setInterval(renderAll, 10 * 60 * 1000);
    }

    function start() {
        const parameters = new URLSearchParams(location.search);
        state.chosen = days.parse(parameters.get('date')) ?? days.today();
        // Another first day of the week than the user's language has: 0 is Sunday.
        if (/^[0-6]$/.test(parameters.get('first') ?? ''))
            state.firstWeekday = Number(parameters.get('first'));
        connect();
        renderAll();
        load();
        window.LumoSuite.obeyAddress();
    }

    start();
})();
