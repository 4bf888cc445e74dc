'use strict';

(() => {
    const { element, hears, post, report, fetchJson, make, tone, toneInTurn, initials, plural } = window.LumoSuite;
    const days = window.LumoDays;
    const mostLines = 7;

    const state = {
        owner: { name: '', address: '' },
        conversations: [],
        calendars: [], // their names
        events: new Map(), // by day
        others: [], // accounts that the host knows: name, address, image, and what was unread when it was last seen
        loaded: false,
    };

    const whole = days.format({ weekday: 'long', day: 'numeric', month: 'long' });

    async function load() {
        const today = days.today();
        element('failed').hidden = true;
        try {
            const [mail, calendar] = await Promise.all([fetchJson('/api/conversations'),
                fetchJson(`/api/events?from=${days.text(today)}&to=${days.text(today + 1)}`)]);
            state.owner = mail.owner;
            state.calendars = calendar.calendars;
            state.conversations = mail.conversations.filter((each) => each.unread && !each.done);
            state.events = new Map([[today, []], [today + 1, []]]);
            for (const event of calendar.events)
                state.events.get(days.parse(event.date))?.push(event);
        } catch (error) {
            report(error.message, location.pathname);
            element('failed').hidden = false;
            return;
        }
        const first = !state.loaded;
        state.loaded = true;
        render();
        if (first)
            post('dashboardReady', { owner: state.owner });
        post('overview', { unread: state.conversations.length, events: state.events.get(today).length });
    }

    // ------------------------------------------------------------------------------------------------ rendering

    function greeting() {
        const hour = new Date().getHours();
        const part = hour < 5 ? 'night' : hour < 12 ? 'morning' : hour < 18 ? 'afternoon' : 'evening';
        return `Good ${part}, ${state.owner.name.split(' ')[0]}`;
    }

    function makeAccount(account, current) {
        const item = make('li');
        const card = make(current ? 'div' : 'button', current ? 'account current' : 'account');
        const avatar = make('span', `avatar ${tone(account.address)}`, initials(account.name));
        avatar.setAttribute('aria-hidden', 'true');
        // Pictures of the service only: a host's address of one is not asked.
        if (/^\/avatars\/[a-z]+\.png$/.test(account.image ?? '')) {
            const image = make('img', 'avatar');
            image.src = account.image;
            image.alt = '';
            avatar.replaceChildren(image);
        }
        const names = make('span', 'account-names');
        names.append(make('span', 'account-name', account.name), make('span', 'account-address', account.address));
        const count = make('span', 'account-count');
        if (Number.isInteger(account.unread)) {
            count.append(make('span', 'account-number', String(account.unread)));
            count.append(make('span', 'account-unit', current ? 'unread' : 'when last seen'));
        } else {
            count.append(make('span', 'account-unit', 'not seen yet'));
        }
        card.append(avatar, names, count);
        if (!current) {
            card.type = 'button';
            card.title = `Show ${account.name}`;
            card.addEventListener('click', () => post('accountChosen', account.address));
        }
        item.append(card);
        return item;
    }

    function renderAccounts() {
        const own = { ...state.owner, unread: state.conversations.length };
        element('accounts').replaceChildren(makeAccount(own, true),
            ...state.others.filter((other) => other.address !== state.owner.address).map((other) => makeAccount(other, false)));
    }

    // A line leads to the application that it is of, or to its page where there is no host.
    function makeLine(link, message, body) {
        const item = make('li');
        const line = make('a', 'line');
        line.href = link;
        line.addEventListener('click', (event) => {
            if (!hears(message))
                return;
            event.preventDefault();
            post(message, body);
        });
        item.append(line);
        return [item, line];
    }

    function renderDay(day, list, empty) {
        const events = state.events.get(day) ?? [];
        element(list).replaceChildren(...events.slice(0, mostLines).map((event) => {
            const [item, line] = makeLine(`/calendar/?date=${days.text(day)}`, 'dayChosen', days.text(day));
            line.classList.add('event', toneInTurn(event.calendar, state.calendars));
            line.append(make('span', 'line-when', event.start ?? 'All day'), make('span', 'line-title', event.title),
                make('span', 'line-detail', event.place || event.people.join(', ')));
            return item;
        }));
        element(empty).hidden = events.length > 0;
    }

    function renderUnread() {
        element('unread-heading').textContent = state.conversations.length
            ? plural(state.conversations.length, 'unread message', 'unread messages') : 'Unread';
        element('unread').replaceChildren(...state.conversations.slice(0, mostLines).map((conversation) => {
            const [item, line] = makeLine('/inbox/', 'mailChosen', conversation.id);
            const avatar = make('span', `avatar ${tone(conversation.from.address)}`, initials(conversation.from.name));
            avatar.setAttribute('aria-hidden', 'true');
            const text = make('span', 'line-text');
            text.append(make('span', 'line-title', conversation.from.name), make('span', 'line-detail', conversation.subject));
            line.classList.add('mail');
            line.append(avatar, text);
            return item;
        }));
        element('unread-empty').hidden = state.conversations.length > 0;
    }

    function render() {
        const today = days.today();
        window.LumoSuite.renderOwner(state.owner);
        element('greeting').textContent = greeting();
        element('today').textContent = whole(today);
        renderAccounts();
        renderDay(today, 'day', 'day-empty');
        renderDay(today + 1, 'next', 'next-empty');
        renderUnread();
    }

    // ----------------------------------------------------------------------------------- what the host may call

    window.LumoDashboard = Object.freeze({
        // Shows accounts beside the one that the page is for, each with "name", "address", "image" and "unread".
        showAccounts(accounts) {
            state.others = [...accounts].map(({ name, address, image, unread }) => ({
                name: String(name), address: String(address), image: String(image ?? ''), unread,
            }));
            if (state.loaded)
                renderAccounts();
        },
        refresh: load,
    });

    function start() {
        element('retry').addEventListener('click', load);
        load();
        setInterval(load, 5 * 60 * 1000);
        window.LumoSuite.obeyAddress();
    }

    start();
})();
