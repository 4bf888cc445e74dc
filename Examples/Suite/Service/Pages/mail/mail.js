'use strict';

(() => {
    const { element, post, report, fetchJson, make, makeIcon, tone, toneInTurn, initials, plural } = window.LumoSuite;

    const folders = [
        { name: 'Mail', icon: 'inbox', holds: (thread) => !thread.done },
        { name: 'Unread', icon: 'unread', holds: (thread) => thread.unread && !thread.done },
        { name: 'Starred', icon: 'star', holds: (thread) => thread.starred },
        { name: 'Archive', icon: 'done', holds: (thread) => thread.done },
    ];

    const state = {
        owner: { name: '', address: '' },
        threads: [],
        messages: [], // of the open thread; null while they are on their way
        folder: folders[0],
        open: null, // its identifier
        loaded: false,
        failed: false,
    };

    const find = (id) => state.threads.find((thread) => thread.id === id) ?? null;
    // An open thread stays in its list, also when it is read or archived meanwhile.
    const shown = () => state.threads.filter((thread) => state.folder.holds(thread) || thread.id === state.open);
    const unreadCount = () => state.threads.filter((thread) => thread.unread && !thread.done).length;

    // --------------------------------------------------------------------------------------------------- server

    async function load() {
        state.failed = false;
        try {
            const answer = await fetchJson('/api/conversations');
            state.owner = answer.owner;
            state.threads = answer.conversations;
            state.loaded = true;
        } catch (error) {
            state.failed = true;
            report(error.message, '/api/conversations');
        }
        render();
        if (state.loaded)
            post('mailReady', { threads: state.threads.length, owner: state.owner });
        tellUnread();
    }

    const threadPath = (id) => `/api/conversations/${encodeURIComponent(id)}`;

    // Marks are set here at once, and taken back where the service does not take them.
    async function change(thread, marks) {
        const before = Object.fromEntries(Object.keys(marks).map((name) => [name, thread[name]]));
        Object.assign(thread, marks);
        render();
        tellUnread();
        try {
            await fetchJson(threadPath(thread.id), {
                method: 'POST',
                headers: { 'Content-Type': 'application/json' },
                body: JSON.stringify(marks),
            });
        } catch (error) {
            Object.assign(thread, before);
            report(error.message, threadPath(thread.id));
            render();
        }
    }

    let toldUnread = null;

    function tellUnread() {
        const count = unreadCount();
        if (!state.loaded || count === toldUnread)
            return;
        toldUnread = count;
        document.title = count ? `Lumo for Gmail (${count})` : 'Lumo for Gmail';
        post('unreadCount', count);
    }

    // -------------------------------------------------------------------------------------------------- actions

    async function open(thread) {
        state.open = thread.id;
        state.messages = null;
        if (thread.unread)
            change(thread, { unread: false });
        render();
        element('threads').querySelector('[aria-selected=true]')?.scrollIntoView({ block: 'nearest' });
        try {
            const answer = await fetchJson(threadPath(thread.id));
            if (state.open !== thread.id)
                return;
            state.messages = answer.messages;
            post('threadOpened', { id: thread.id, subject: thread.subject });
        } catch (error) {
            report(error.message, threadPath(thread.id));
            if (state.open === thread.id)
                state.open = null;
        }
        render();
        element('reading').scrollTop = 0;
    }

    function close() {
        state.open = null;
        render();
    }

    function move(step) {
        const rows = shown();
        const place = rows.findIndex((thread) => thread.id === state.open);
        const next = rows[place < 0 ? 0 : place + step];
        if (next)
            open(next);
    }

    // The next one is opened in its place.
    function archive() {
        const thread = find(state.open);
        if (!thread || thread.done)
            return null;
        const rows = shown();
        const next = rows[rows.indexOf(thread) + 1];
        state.open = null;
        change(thread, { done: true });
        post('threadArchived', { id: thread.id });
        if (next)
            open(next);
        return thread.subject;
    }

    const withOpen = (action) => () => {
        const thread = find(state.open);
        if (thread)
            action(thread);
    };
    const toggleStar = withOpen((thread) => change(thread, { starred: !thread.starred }));
    const markUnread = withOpen((thread) => {
        state.open = null;
        change(thread, { unread: true });
    });

    const keys = {
        j: () => move(1), k: () => move(-1), ArrowDown: () => move(1), ArrowUp: () => move(-1),
        e: archive, s: toggleStar, u: markUnread, Escape: close, '?': () => element('keys').showModal(),
    };

    // ------------------------------------------------------------------------------------------------ rendering

    const format = (options) => new Intl.DateTimeFormat(undefined, options);
    const formats = {
        time: format({ hour: '2-digit', minute: '2-digit', hourCycle: 'h23' }),
        day: format({ day: 'numeric', month: 'short' }),
        whole: format({ weekday: 'short', day: 'numeric', month: 'short', hour: '2-digit', minute: '2-digit', hourCycle: 'h23' }),
    };

    function shortTime(text) {
        const date = new Date(text);
        return date.toDateString() === new Date().toDateString() ? formats.time.format(date) : formats.day.format(date);
    }

    const labels = () => [...new Set(state.threads.map((thread) => thread.label))].filter(Boolean).sort();

    function renderFolders() {
        element('folders').replaceChildren(...folders.map((folder, index) => {
            const item = make('li');
            const button = make('button', 'folder');
            const count = state.threads.filter(folder.holds).length;
            button.type = 'button';
            button.title = folder.name;
            button.dataset.folder = index;
            if (folder === state.folder)
                button.setAttribute('aria-current', 'page');
            button.append(makeIcon(folder.icon), make('span', 'folder-name', folder.name));
            if (count)
                button.append(make('span', index === 1 ? 'folder-count strong' : 'folder-count', String(count)));
            item.append(button);
            return item;
        }));
    }

    function makeRow(thread) {
        const row = make('div', 'thread');
        row.dataset.id = thread.id;
        row.setAttribute('role', 'option');
        row.setAttribute('aria-selected', String(thread.id === state.open));
        row.setAttribute('aria-label', [thread.unread ? 'Unread' : '', thread.from.name, thread.subject].filter(Boolean).join(', '));
        row.classList.toggle('unread', thread.unread);
        const from = make('span', 'thread-from', thread.from.name);
        if (thread.messageCount > 1)
            from.append(make('span', 'thread-count', String(thread.messageCount)));
        const text = make('span', 'thread-text');
        text.append(make('span', 'thread-subject', thread.subject), make('span', 'thread-snippet', ` — ${thread.snippet}`));
        const star = make('span', 'thread-star');
        if (thread.starred)
            star.append(makeIcon('star'));
        row.append(make('span', 'thread-dot'), star, from, text);
        if (thread.label)
            row.append(make('span', `chip ${toneInTurn(thread.label, labels())}`, thread.label));
        row.append(make('span', 'thread-time', shortTime(thread.receivedAt)));
        return row;
    }

    function makeMessage(message) {
        const own = message.from.address === state.owner.address;
        const item = make('li', 'message');
        const avatar = make('span', own ? 'avatar own' : `avatar ${tone(message.from.address)}`, initials(message.from.name));
        avatar.setAttribute('aria-hidden', 'true');
        const head = make('div', 'message-head');
        head.append(make('span', 'message-from', own ? 'You' : message.from.name),
            make('span', 'message-to', `to ${own ? message.to.name : 'you'}`),
            make('time', 'message-time', formats.whole.format(new Date(message.sentAt))));
        const body = make('div', 'message-body');
        body.append(head, make('div', 'message-text', message.text));
        item.append(avatar, body);
        return item;
    }

    function renderThread() {
        const thread = find(state.open);
        for (const id of ['archive-button', 'star-button', 'unread-button'])
            element(id).disabled = !thread;
        element('star-button').setAttribute('aria-pressed', String(Boolean(thread?.starred)));
        element('thread').hidden = !thread;
        element('empty').hidden = Boolean(thread) || !(state.loaded || state.failed);
        element('retry').hidden = !state.failed;
        const rows = shown().length;
        const [picture, title, text] = state.failed ? ['cloud', 'No connection', 'The mail could not be loaded.']
            : rows ? ['letter', 'Nothing open', 'Choose a thread, or press j to begin at the top.']
                : ['sun', 'Nothing here', 'No thread is in this folder.'];
        element('empty-picture').setAttribute('href', `#icon-${picture}`);
        element('empty-title').textContent = title;
        element('empty-text').textContent = text;
        if (!thread)
            return;
        element('subject').textContent = thread.subject;
        element('label').textContent = thread.label;
        element('label').hidden = !thread.label;
        element('label').className = `chip ${toneInTurn(thread.label, labels())}`;
        element('messages').replaceChildren(...(state.messages ?? []).map(makeMessage));
    }

    function render() {
        const scrolled = element('threads').scrollTop;
        window.LumoSuite.renderOwner(state.owner);
        renderFolders();
        element('view-title').textContent = state.folder.name;
        element('view-count').textContent = state.loaded ? plural(shown().length, 'thread', 'threads') : '';
        element('threads').replaceChildren(...shown().map(makeRow));
        element('threads').scrollTop = scrolled;
        renderThread();
    }

    // ----------------------------------------------------------------------------------- what the host may call

    window.LumoMail = Object.freeze({
        // Opens a thread, or the first one; answers its identifier, or null where there is none.
        open(id) {
            const thread = id === undefined ? shown()[0] ?? null : find(String(id));
            if (thread)
                open(thread);
            return thread?.id ?? null;
        },
        // Archives the open thread; answers its subject, or null where none is open.
        archive,
        unread: unreadCount,
    });

    function start() {
        const onClick = (id, action) => element(id).addEventListener('click', action);
        document.addEventListener('keydown', (event) => {
            if (event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey || element('keys').open)
                return;
            if (!Object.hasOwn(keys, event.key))
                return;
            event.preventDefault();
            keys[event.key]();
        });
        onClick('threads', (event) => {
            const thread = find(event.target.closest('[data-id]')?.dataset.id);
            if (thread)
                open(thread);
        });
        onClick('folders', (event) => {
            const folder = folders[event.target.closest('[data-folder]')?.dataset.folder];
            if (!folder)
                return;
            state.folder = folder;
            state.open = null;
            render();
        });
        onClick('archive-button', archive);
        onClick('star-button', toggleStar);
        onClick('unread-button', markUnread);
        onClick('retry', load);
        onClick('keys-button', keys['?']);
        render();
        load();
        window.LumoSuite.obeyAddress();
    }

    start();
})();
