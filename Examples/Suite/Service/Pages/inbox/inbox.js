'use strict';

(() => {
    const { element, hears, post, report, fetchJson, make, makeIcon, tone, toneInTurn, initials, plural } = window.LumoSuite;
    const days = window.LumoDays;
    const toastMilliseconds = 6000;
    const dayMilliseconds = 24 * 60 * 60 * 1000;
    const folders = [
        { view: 'inbox', title: 'Inbox', icon: 'inbox' },
        { view: 'starred', title: 'Starred', icon: 'star' },
        { view: 'done', title: 'Done', icon: 'done' },
    ];

    // What is shown. `open` is in the reader; `cursor` is where the keyboard stands in the list, which outlives the
    // open conversation, so that a conversation that is done leaves the reader at the right place.
    const state = {
        owner: { name: '', address: '' },
        conversations: [],
        messages: new Map(),
        view: 'inbox',
        query: '',
        open: null,
        cursor: null,
        loaded: false,
        failed: false,
        reportedUnread: null,
        undo: null,
        gone: null,
        drafts: [], // the last one is written, while `composing`; the others wait
        composing: false,
    };

    // --------------------------------------------------------------------------------------------------- server

    const conversationPath = (id) => `/api/conversations/${encodeURIComponent(id)}`;

    // Changes go to the server one after another; otherwise an undo could overtake what it undoes.
    let writes = Promise.resolve();

    function save(conversation, marks, before) {
        writes = writes.then(async () => {
            try {
                await fetchJson(conversationPath(conversation.id), {
                    method: 'POST',
                    headers: { 'Content-Type': 'application/json' },
                    body: JSON.stringify(marks),
                });
            } catch (error) {
                report(error.message, conversationPath(conversation.id));
                Object.assign(conversation, before);
                if ('done' in before)
                    post('conversationDone', { id: conversation.id, done: before.done });
                showToast('The change could not be saved');
                renderAll();
            }
        });
    }

    async function loadList() {
        state.failed = false;
        renderList();
        try {
            const answer = await fetchJson('/api/conversations');
            state.owner = answer.owner;
            state.conversations = answer.conversations.map((item) => ({
                ...item,
                receivedAt: new Date(item.receivedAt),
            }));
            state.loaded = true;
        } catch (error) {
            state.failed = true;
            report(error.message, '/api/conversations');
        }
        renderList();
        if (state.loaded)
            post('inboxReady', { conversations: state.conversations.length, owner: state.owner });
        renderAll();
    }

    async function send(draft) {
        const answer = await fetchJson('/api/conversations', {
            method: 'POST',
            headers: { 'Content-Type': 'application/json' },
            body: JSON.stringify({ to: addresses(draft.to), subject: draft.subject.trim(), text: draft.body,
                attachments: (draft.files ?? []).map((file) => file.id) }),
        });
        state.conversations.unshift({ ...answer, receivedAt: new Date(answer.receivedAt) });
    }

    async function loadMessages(conversation) {
        try {
            const answer = await fetchJson(conversationPath(conversation.id));
            state.messages.set(conversation.id, answer.messages.map((message) => ({
                ...message,
                sentAt: new Date(message.sentAt),
            })));
        } catch (error) {
            report(error.message, conversationPath(conversation.id));
            state.messages.set(conversation.id, null);
        }
        if (state.open === conversation.id)
            renderMessages(conversation);
    }

    // ---------------------------------------------------------------------------------------------- local state

    const find = (id) => state.conversations.find((item) => item.id === id) ?? null;
    const allLabels = () => [...new Set(state.conversations.map((item) => item.label))].filter(Boolean).sort();
    const unreadCount = () => state.conversations.filter((item) => item.unread && !item.done).length;

    // Letters that have no accent to take away, but are typed without their stroke all the same.
    const plainLetters = { ø: 'o', ł: 'l', đ: 'd', ß: 'ss', æ: 'ae', œ: 'oe', þ: 'th', ı: 'i' };
    const folded = (text) => text.normalize('NFKD').replace(/\p{M}/gu, '').toLowerCase()
        .replace(/[øłđßæœþı]/g, (letter) => plainLetters[letter]);

    function belongs(conversation, view) {
        switch (view) {
        case 'inbox':
            return !conversation.done;
        case 'done':
            return conversation.done;
        case 'starred':
            return conversation.starred;
        default:
            return !conversation.done && view === `label:${conversation.label}`;
        }
    }

    function matches(conversation, words) {
        const text = folded([conversation.from.name, conversation.from.address, conversation.subject,
            conversation.snippet, conversation.label].join('\n'));
        return words.every((word) => text.includes(word));
    }

    function shown() {
        const words = folded(state.query).split(/\s+/).filter(Boolean);
        return state.conversations.filter((item) => belongs(item, state.view) && matches(item, words));
    }

    function reportUnread() {
        if (!state.loaded)
            return;
        const count = unreadCount();
        document.title = count ? `Lumo for Inbox (${count})` : 'Lumo for Inbox';
        if (count === state.reportedUnread)
            return;
        state.reportedUnread = count;
        post('unreadCount', count);
    }

    // Changes marks here at once and on the server later.
    function change(conversation, marks) {
        const before = Object.fromEntries(Object.keys(marks).map((name) => [name, conversation[name]]));
        Object.assign(conversation, marks);
        save(conversation, marks, before);
    }

    function setDone(conversation, done) {
        const rows = shown();
        const place = rows.indexOf(conversation);
        change(conversation, { done });
        if (place >= 0 && !belongs(conversation, state.view)) {
            state.cursor = (rows[place + 1] ?? rows[place - 1])?.id ?? null;
            if (state.open === conversation.id)
                state.open = null;
        }
        post('conversationDone', { id: conversation.id, done });
        renderAll();
    }

    // -------------------------------------------------------------------------------------------------- actions

    function openConversation(conversation) {
        // A host may open what the present view or search does not show.
        if (!shown().includes(conversation)) {
            setQuery('');
            if (!belongs(conversation, state.view))
                state.view = conversation.done ? 'done' : 'inbox';
        }
        const again = state.open === conversation.id;
        const wasUnread = conversation.unread;
        state.open = conversation.id;
        state.cursor = conversation.id;
        state.composing = false;
        if (wasUnread)
            change(conversation, { unread: false });
        if (!state.messages.get(conversation.id)) {
            state.messages.delete(conversation.id);
            loadMessages(conversation);
        }
        if (!again) {
            post('conversationOpened', {
                id: conversation.id,
                subject: conversation.subject,
                from: conversation.from.name,
                unread: wasUnread,
                receivedAt: conversation.receivedAt,
            });
        }
        renderAll();
        element('reading').scrollTop = 0;
        revealCursor();
    }

    function toggleDone(conversation) {
        const done = !conversation.done;
        const wasOpen = state.open === conversation.id;
        setDone(conversation, done);
        showToast(done ? 'Marked as done' : 'Moved to the inbox', () => {
            setDone(conversation, !done);
            if (wasOpen)
                openConversation(conversation);
        });
    }

    function toggleStar(conversation) {
        change(conversation, { starred: !conversation.starred });
        renderAll();
    }

    // Leaves the conversation, as it would be read again at once otherwise.
    function markUnread(conversation) {
        change(conversation, { unread: true });
        if (state.open === conversation.id)
            state.open = null;
        renderAll();
    }

    function move(step) {
        const rows = shown();
        const place = rows.findIndex((item) => item.id === state.cursor);
        if (!rows.length)
            return;
        // Where nothing is open the cursor marks what comes next, so the first step goes to it and not past it.
        const waits = place >= 0 && state.open !== state.cursor;
        const next = place < 0 || waits ? Math.max(place, 0) : place + step;
        if (rows[next])
            openConversation(rows[next]);
    }

    function setView(view) {
        state.view = view;
        if (!shown().some((item) => item.id === state.open)) {
            state.open = null;
            state.cursor = null;
        }
        renderAll();
        element('list').scrollTop = 0;
    }

    function setQuery(text) {
        state.query = text;
        if (element('search').value !== text)
            element('search').value = text;
        element('search-clear').hidden = !text;
        renderList();
        renderPosition();
    }

    const current = () => find(state.open) ?? find(state.cursor);

    // -------------------------------------------------------------------------------------------------- writing

    const fields = ['to', 'subject', 'body'];
    const addresses = (text) => text.split(',').map((address) => address.trim()).filter(Boolean);

    function compose(draft) {
        state.drafts.push(draft);
        state.composing = true;
        renderAll();
        post('composeOpened', { to: addresses(draft.to), subject: draft.subject });
        // Whatever is filled in already is passed over.
        const first = fields.find((name) => !draft[name]) ?? 'body';
        element(`compose-${first}`).focus();
        if (first === 'body')
            element('compose-body').setSelectionRange(draft.body.length, draft.body.length);
    }

    // Goes on with what was begun last, or begins.
    function write() {
        if (!state.drafts.length)
            return compose({ to: '', subject: '', body: '' });
        state.composing = true;
        renderAll();
        element('compose-body').focus();
    }

    function leaveDraft() {
        // A draft without a word is none.
        state.drafts = state.drafts.filter((draft) => draft.files?.length || fields.some((name) => draft[name].trim()));
        state.composing = false;
        element('reader').focus();
        renderAll();
    }

    function dropDraft(draft) {
        state.drafts = state.drafts.filter((other) => other !== draft);
        state.composing = state.composing && state.drafts.length > 0;
        renderAll();
    }

    function discardDraft() {
        const draft = state.drafts.at(-1);
        dropDraft(draft);
        const comeBack = () => {
            state.drafts.push(draft);
            state.composing = true;
            renderAll();
        };
        // Its files are kept as long as it can come back.
        showToast('Message discarded', comeBack, () => draft.files?.filter((file) => file.id).forEach(forget));
    }

    async function sendDraft() {
        const draft = state.drafts.at(-1);
        if (draft.sending)
            return;
        draft.problem = addresses(draft.to).length ? '' : 'Whom is it for?';
        if (draft.problem) {
            renderCompose();
            element('compose-to').focus();
            return;
        }
        if (draft.files?.some((file) => !file.id)) {
            draft.problem = 'A file is still on its way.';
            renderCompose();
            return;
        }
        draft.sending = true;
        renderCompose();
        try {
            await send(draft);
            post('mailSent', draft.subject);
            dropDraft(draft);
            showToast('Message sent');
        } catch (error) {
            report(error.message, '/api/conversations');
            draft.problem = 'The message could not be sent. It is kept here.';
        }
        draft.sending = false;
        renderCompose();
    }

    // ------------------------------------------------------------------------------------------------ attaching

    // Files go to the service at once, one after another, and to the message by their identifiers.
    async function attach(draft, files) {
        draft.problem = '';
        draft.files ??= [];
        const begun = files.map((file) => ({ id: null, name: file.name, size: file.size, file }));
        draft.files.push(...begun);
        renderCompose();
        for (const each of begun) {
            const path = `/api/attachments?name=${encodeURIComponent(each.name)}`;
            try {
                const answer = await fetchJson(path, {
                    method: 'POST',
                    headers: { 'Content-Type': 'application/octet-stream' },
                    body: each.file,
                });
                each.id = answer.id;
                each.file = null;
                if (each.removed)
                    forget(each);
                else
                    post('attached', each.name);
            } catch (error) {
                report(error.message, path);
                draft.files = draft.files.filter((other) => other !== each);
                draft.problem = `“${each.name}” could not be attached.`;
            }
            renderCompose();
        }
    }

    function forget(file) {
        const path = `/api/attachments/${encodeURIComponent(file.id)}`;
        fetch(path, { method: 'DELETE', headers: { 'Content-Type': 'application/json' } })
            .catch((error) => report(error.message, path));
    }

    // One that is still on its way is forgotten when it has arrived.
    function detach(draft, file) {
        file.removed = true;
        draft.files = draft.files.filter((other) => other !== file);
        if (file.id)
            forget(file);
        renderCompose();
    }

    function fileSize(bytes) {
        for (const [unit, size] of [['MB', 1e6], ['kB', 1e3]]) {
            if (bytes >= size)
                return `${(bytes / size).toFixed(bytes < 10 * size ? 1 : 0)} ${unit}`;
        }
        return plural(bytes, 'byte', 'bytes');
    }

    function makeFile(file) {
        const item = make('li', 'file');
        item.append(makeIcon('clip'), make('span', 'file-name', file.name), make('span', 'file-size', fileSize(file.size)));
        return item;
    }

    function makeDraftFile(draft, file) {
        const item = makeFile(file);
        item.classList.toggle('waiting', !file.id);
        const remove = make('button', 'file-remove');
        remove.type = 'button';
        remove.setAttribute('aria-label', `Remove ${file.name}`);
        remove.append(makeIcon('close'));
        remove.addEventListener('click', () => detach(draft, file));
        item.append(remove);
        return item;
    }

    // ------------------------------------------------------------------------------------------------- building

    const isOwner = (person) => person.address === state.owner.address;
    const avatarClass = (person) => (isOwner(person) ? 'avatar own' : `avatar ${tone(person.address)}`);

    function makeAvatar(person) {
        const avatar = make('span', avatarClass(person), initials(person.name));
        avatar.setAttribute('aria-hidden', 'true');
        return avatar;
    }

    const dateFormat = (options) => new Intl.DateTimeFormat(undefined, options);
    const formats = {
        time: dateFormat({ hour: '2-digit', minute: '2-digit', hourCycle: 'h23' }),
        weekday: dateFormat({ weekday: 'short' }),
        day: dateFormat({ day: 'numeric', month: 'short' }),
        full: dateFormat({ weekday: 'short', day: 'numeric', month: 'short', hour: '2-digit', minute: '2-digit',
            hourCycle: 'h23' }),
    };

    const dayTitle = days.format({ weekday: 'long', day: 'numeric', month: 'long' });

    function daysAgo(date) {
        const midnight = (time) => new Date(time.getFullYear(), time.getMonth(), time.getDate()).getTime();
        // Days around a clock change are an hour shorter or longer.
        return Math.round((midnight(new Date()) - midnight(date)) / dayMilliseconds);
    }

    function shortTime(date) {
        const days = daysAgo(date);
        if (days <= 0)
            return formats.time.format(date);
        return days < 7 ? formats.weekday.format(date) : formats.day.format(date);
    }

    function longTime(date) {
        const days = daysAgo(date);
        if (days <= 0)
            return `Today, ${formats.time.format(date)}`;
        return days === 1 ? `Yesterday, ${formats.time.format(date)}` : formats.full.format(date);
    }

    function groupName(date) {
        const days = daysAgo(date);
        if (days <= 0)
            return 'Today';
        if (days === 1)
            return 'Yesterday';
        return days < 7 ? 'Last seven days' : 'Earlier';
    }

    // ------------------------------------------------------------------------------------------------ rendering

    function makeFolder(view, title, mark, count, strong) {
        const item = make('li');
        const button = make('button', 'folder');
        button.type = 'button';
        button.title = title;
        if (state.view === view)
            button.setAttribute('aria-current', 'page');
        button.append(mark, make('span', 'folder-name', title));
        if (count) {
            const number = make('span', strong ? 'folder-count strong' : 'folder-count', String(count));
            number.setAttribute('aria-label', strong ? `${count} unread` : plural(count, 'conversation', 'conversations'));
            button.append(number);
        }
        button.dataset.view = view;
        item.append(button);
        return item;
    }

    function renderFolders() {
        // Built anew, so the keyboard has to be led back to where it was.
        const focused = document.activeElement?.dataset?.view;
        const count = (view) => state.conversations.filter((item) => belongs(item, view)).length;
        element('folders').replaceChildren(...folders.map(({ view, title, icon }) => {
            const strong = view === 'inbox';
            return makeFolder(view, title, makeIcon(icon), strong ? unreadCount() : count(view), strong);
        }));
        const labels = allLabels();
        element('labels').replaceChildren(...labels.map((label) => {
            const view = `label:${label}`;
            return makeFolder(view, label, make('span', `label-dot ${labelTone(label)}`), count(view), false);
        }));
        element('labels-heading').hidden = !labels.length;
        if (focused)
            document.querySelector(`[data-view="${CSS.escape(focused)}"]`)?.focus();
    }

    const labelTone = (label) => toneInTurn(label, allLabels());

    function makeRow(conversation) {
        const row = make('div', 'row');
        row.id = `row-${conversation.id}`;
        row.dataset.id = conversation.id;
        row.setAttribute('role', 'option');
        row.setAttribute('aria-selected', String(conversation.id === state.open));
        row.setAttribute('aria-label', [conversation.unread ? 'Unread' : '', conversation.from.name,
            conversation.subject, longTime(conversation.receivedAt)].filter(Boolean).join(', '));
        row.classList.toggle('unread', conversation.unread);
        row.classList.toggle('cursor', conversation.id === state.cursor);

        const first = make('div', 'row-line');
        first.append(make('span', 'row-from', conversation.from.name));
        if (conversation.messageCount > 1)
            first.append(make('span', 'row-count', String(conversation.messageCount)));
        first.append(make('span', 'row-time', shortTime(conversation.receivedAt)));
        const second = make('div', 'row-line');
        second.append(make('span', 'row-subject', conversation.subject));
        if (conversation.starred)
            second.append(makeIcon('star', 'icon row-star'));
        const lines = make('div', 'row-lines');
        lines.append(first, second, make('div', 'row-snippet', conversation.snippet));

        // For the pointer only: the keyboard has a key for it, and an option may hold no button.
        const done = make('span', 'row-done');
        done.title = conversation.done ? 'Move to the inbox' : 'Done';
        done.append(makeIcon(conversation.done ? 'back' : 'check'));

        if (conversation.unread)
            row.append(make('span', 'unread-dot'));
        row.append(makeAvatar(conversation.from), lines, done);
        return row;
    }

    function makeGroups(rows) {
        const groups = [];
        let name = null;
        for (const conversation of rows) {
            if (groupName(conversation.receivedAt) !== name) {
                name = groupName(conversation.receivedAt);
                const group = make('div', 'group');
                const heading = make('div', 'group-heading', name);
                heading.setAttribute('aria-hidden', 'true');
                group.setAttribute('role', 'group');
                group.setAttribute('aria-label', name);
                group.append(heading);
                groups.push(group);
            }
            groups.at(-1).append(makeRow(conversation));
        }
        return groups;
    }

    function viewTitle() {
        return folders.find(({ view }) => view === state.view)?.title ?? state.view.replace('label:', '');
    }

    function renderList() {
        const rows = shown();
        const list = element('list');
        list.replaceChildren(...makeGroups(rows));
        list.setAttribute('aria-busy', String(!state.loaded && !state.failed));
        const cursor = rows.some((item) => item.id === state.cursor) ? `row-${state.cursor}` : null;
        if (cursor)
            list.setAttribute('aria-activedescendant', cursor);
        else
            list.removeAttribute('aria-activedescendant');
        element('view-title').textContent = viewTitle();
        element('view-count').textContent = state.loaded ? countText(rows) : '';
        renderListEmpty(rows);
    }

    function countText(rows) {
        if (state.query.trim())
            return `${rows.length} found`;
        const unread = rows.filter((item) => item.unread).length;
        return unread && state.view !== 'done' ? `${unread} unread` : plural(rows.length, 'conversation', 'conversations');
    }

    function emptyState() {
        if (state.failed)
            return ['cloud', 'No connection', 'The conversations could not be loaded.'];
        if (state.query.trim())
            return ['glass', 'Nothing found', `No conversation in ${viewTitle()} matches “${state.query.trim()}”.`];
        switch (state.view) {
        case 'inbox':
            return ['sun', 'All done', 'Nothing is waiting for you. Enjoy the day.'];
        case 'starred':
            return ['letter', 'Nothing starred', 'Star a conversation to find it here.'];
        case 'done':
            return ['letter', 'Nothing done yet', 'What you mark as done is kept here.'];
        default:
            return ['sun', 'All done', `Nothing with the label ${viewTitle()} is waiting.`];
        }
    }

    function renderListEmpty(rows) {
        element('list-empty').hidden = rows.length > 0 || !(state.loaded || state.failed);
        element('retry').hidden = !state.failed;
        const [picture, title, text] = emptyState();
        element('list-empty-picture').setAttribute('href', `#icon-${picture}`);
        element('list-empty-title').textContent = title;
        element('list-empty-text').textContent = text;
    }

    // The text of a message, in which days lead to the calendar: that of a host, or the page of the service.
    function makeText(message) {
        const text = make('div', 'message-text');
        const sent = message.sentAt;
        for (const piece of days.mentions(message.text, days.dayOf(sent.getFullYear(), sent.getMonth(), sent.getDate()))) {
            if (piece.day === null) {
                text.append(piece.text);
                continue;
            }
            const link = make('a', 'day', piece.text);
            link.href = `/calendar/?date=${days.text(piece.day)}`;
            link.title = `${dayTitle(piece.day)}, in the calendar`;
            link.dataset.day = days.text(piece.day);
            text.append(link);
        }
        return text;
    }

    function makeMessage(message, expanded) {
        const article = make('article', 'message');
        const own = isOwner(message.from);
        const head = make('button', 'message-head');
        const names = make('span');
        const sub = make('span', 'message-sub');
        const body = makeText(message);
        const setExpanded = (value) => {
            head.setAttribute('aria-expanded', String(value));
            body.hidden = !value;
            // A closed message tells how it begins, an open one for whom it is.
            sub.textContent = value
                ? `${message.from.address} to ${own ? message.to.name : 'you'}`
                : message.text.replace(/\s+/g, ' ').slice(0, 140);
        };
        head.type = 'button';
        names.append(make('span', 'message-from', own ? 'You' : message.from.name), sub);
        if (message.attachments?.length) {
            const files = make('ul', 'files');
            files.append(...message.attachments.map(makeFile));
            body.append(files);
        }
        head.append(makeAvatar(message.from), names, make('time', 'message-time', longTime(message.sentAt)));
        head.lastChild.dateTime = message.sentAt.toISOString();
        head.addEventListener('click', () => setExpanded(head.getAttribute('aria-expanded') !== 'true'));
        setExpanded(expanded);
        article.append(head, body);
        return article;
    }

    function renderMessages(conversation) {
        const messages = state.messages.get(conversation.id);
        const holder = element('messages');
        holder.setAttribute('aria-busy', String(messages === undefined));
        if (messages === undefined)
            holder.replaceChildren(make('div', 'message waiting'));
        else if (messages === null)
            holder.replaceChildren(make('p', 'empty-text', 'The messages could not be loaded.'));
        else
            holder.replaceChildren(...messages.map((item, index) => makeMessage(item, index === messages.length - 1)));
        holder.dataset.shown = messages ? conversation.id : '';
    }

    function renderPosition() {
        const rows = shown();
        const place = rows.findIndex((item) => item.id === state.open);
        element('position').textContent = place < 0 ? '' : `${place + 1} of ${rows.length}`;
        element('previous-button').disabled = place <= 0;
        element('next-button').disabled = place < 0 || place + 1 >= rows.length;
    }

    function renderReader() {
        const conversation = find(state.open);
        element('reader-empty').hidden = conversation !== null || state.composing;
        element('reader-content').hidden = conversation === null || state.composing;
        if (!conversation)
            return;
        element('subject').textContent = conversation.subject;
        element('subject-label').textContent = conversation.label;
        element('subject-label').hidden = !conversation.label;
        element('subject-label').className = `chip ${labelTone(conversation.label)}`;
        element('done-text').textContent = conversation.done ? 'Move to inbox' : 'Done';
        element('done-button').title = conversation.done ? 'Move to the inbox (e)' : 'Done (e)';
        element('done-button').classList.toggle('returns', conversation.done);
        element('done-icon').setAttribute('href', conversation.done ? '#icon-back' : '#icon-check');
        element('star-button').setAttribute('aria-pressed', String(conversation.starred));
        renderPosition();
        // A message that the reader unfolded stays unfolded while only marks change.
        if (element('messages').dataset.shown !== conversation.id)
            renderMessages(conversation);
    }

    function renderCompose() {
        const draft = state.drafts.at(-1);
        const button = element('write-button');
        element('compose').hidden = !state.composing;
        element('write-count').textContent = state.drafts.length || '';
        if (state.composing)
            button.setAttribute('aria-current', 'page');
        else
            button.removeAttribute('aria-current');
        if (!state.composing)
            return;
        for (const name of fields) {
            const field = element(`compose-${name}`);
            if (field.value !== draft[name])
                field.value = draft[name];
        }
        element('compose-files').hidden = !draft.files?.length;
        element('compose-files').replaceChildren(...(draft.files ?? []).map((file) => makeDraftFile(draft, file)));
        element('compose-problem').textContent = draft.problem ?? '';
        element('compose-problem').hidden = !draft.problem;
        element('compose').querySelector('[type=submit]').disabled = Boolean(draft.sending);
        const others = state.drafts.length - 1;
        element('draft-position').textContent = others ? `${plural(others, 'other', 'others')} waiting` : '';
    }

    function renderAll() {
        renderFolders();
        window.LumoSuite.renderOwner(state.owner);
        renderList();
        renderReader();
        renderCompose();
        reportUnread();
    }

    function revealCursor() {
        const row = element('list').querySelector('.row.cursor');
        if (!row)
            return;
        // The group's heading stays at the top and would cover the row.
        const list = element('list').getBoundingClientRect();
        const place = row.getBoundingClientRect();
        if (place.top < list.top + 36)
            element('list').scrollTop -= list.top + 36 - place.top;
        else if (place.bottom > list.bottom - 8)
            element('list').scrollTop += place.bottom - list.bottom + 8;
    }

    // ---------------------------------------------------------------------------------------------------- toast

    let toastTimer = 0;

    function hideToast() {
        clearTimeout(toastTimer);
        element('toast').hidden = true;
        const gone = state.gone;
        state.undo = null;
        state.gone = null;
        gone?.();
    }

    // `gone` is called when it can no longer be undone.
    function showToast(text, undo = null, gone = null) {
        hideToast();
        state.undo = undo;
        state.gone = gone;
        element('toast').hidden = false;
        element('toast-text').textContent = text;
        element('toast-undo').hidden = !undo;
        toastTimer = setTimeout(hideToast, toastMilliseconds);
    }

    function undo() {
        const action = state.undo;
        state.gone = null;
        hideToast();
        action?.();
    }

    // ----------------------------------------------------------------------------------------------------- keys

    const withCurrent = (action) => () => {
        const conversation = current();
        if (conversation)
            action(conversation);
    };

    const keys = {
        j: () => move(1),
        k: () => move(-1),
        e: withCurrent(toggleDone),
        s: withCurrent(toggleStar),
        u: withCurrent(markUnread),
        c: write,
        z: undo,
        '/': () => {
            element('search').focus();
            element('search').select();
        },
        '?': () => element('keys').showModal(),
        Escape: () => {
            if (state.query)
                setQuery('');
            else if (state.composing)
                leaveDraft();
            else if (state.open) {
                state.open = null;
                renderAll();
            }
        },
    };

    const listKeys = { ArrowDown: keys.j, ArrowUp: keys.k, Enter: withCurrent(openConversation) };

    function searchKey(event) {
        if (event.key === 'Escape') {
            setQuery('');
            element('search').blur();
        } else if (event.key === 'Enter' || event.key === 'ArrowDown') {
            element('list').focus();
            if (shown()[0])
                openConversation(shown()[0]);
        } else {
            return;
        }
        event.preventDefault();
    }

    function composeKey(event) {
        if (event.key === 'Escape')
            leaveDraft();
        else if (event.key === 'Enter' && (event.ctrlKey || event.metaKey))
            sendDraft();
        else
            return;
        event.preventDefault();
    }

    function pageKey(event) {
        if (event.defaultPrevented || event.ctrlKey || event.metaKey || event.altKey || element('keys').open)
            return;
        if (event.target === element('search') || element('compose').contains(event.target))
            return;
        const action = (event.target === element('list') && listKeys[event.key]) || keys[event.key];
        if (!action)
            return;
        event.preventDefault();
        action();
    }

    function listClick(event) {
        const row = event.target.closest('.row');
        const conversation = row && find(row.dataset.id);
        if (!conversation)
            return;
        if (event.target.closest('.row-done'))
            toggleDone(conversation);
        else
            openConversation(conversation);
    }

    function dayClick(event) {
        const day = event.target.closest('a.day')?.dataset.day;
        if (!day || !hears('dayChosen'))
            return;
        event.preventDefault();
        post('dayChosen', day);
    }

    function connect() {
        const onClick = (id, action) => element(id).addEventListener('click', action);
        document.addEventListener('keydown', pageKey);
        element('search').addEventListener('keydown', searchKey);
        element('search').addEventListener('input', (event) => setQuery(event.target.value));
        onClick('search-clear', () => {
            setQuery('');
            element('search').focus();
        });
        document.querySelector('.sidebar').addEventListener('click', (event) => {
            const view = event.target.closest('[data-view]')?.dataset.view;
            if (view)
                setView(view);
        });
        for (const name of fields) {
            element(`compose-${name}`).addEventListener('input', (event) => {
                state.drafts.at(-1)[name] = event.target.value;
            });
        }
        element('compose').addEventListener('keydown', composeKey);
        element('compose').addEventListener('submit', (event) => {
            event.preventDefault();
            sendDraft();
        });
        onClick('write-button', write);
        onClick('attach-button', () => element('compose-file').click());
        element('compose-file').addEventListener('change', (event) => {
            attach(state.drafts.at(-1), [...event.target.files]);
            event.target.value = ''; // so that the same file can be chosen again
        });
        onClick('discard-button', discardDraft);
        onClick('leave-button', leaveDraft);
        onClick('list', listClick);
        onClick('messages', dayClick);
        onClick('retry', loadList);
        onClick('done-button', withCurrent(toggleDone));
        onClick('star-button', withCurrent(toggleStar));
        onClick('unread-button', withCurrent(markUnread));
        onClick('previous-button', keys.k);
        onClick('next-button', keys.j);
        onClick('toast-undo', undo);
        onClick('keys-button', keys['?']);
        // "Today" turns into "Yesterday" at midnight, also on a page that nobody reloads.
        setInterval(renderList, 10 * 60 * 1000);
    }

    // ----------------------------------------------------------------------------------- what the host may call

    // Everything answers at once from what is known here; the server hears of it afterwards.
    window.LumoInbox = Object.freeze({
        // Opens a conversation, or the first shown one; answers its identifier, or null without such a one.
        open(id) {
            const conversation = id === undefined || id === null ? shown()[0] ?? null : find(String(id));
            if (conversation)
                openConversation(conversation);
            return conversation?.id ?? null;
        },

        // Marks a conversation, or the open one, as done; answers its subject, or null if it marked none.
        markDone(id) {
            const conversation = id === undefined || id === null ? find(state.open) : find(String(id));
            if (!conversation || conversation.done)
                return null;
            toggleDone(conversation);
            return conversation.subject;
        },

        // Begins a message; what was begun before waits until this one is sent or put away.
        compose({ to, subject, body } = {}) {
            compose({ to: [...to ?? []].join(', '), subject: String(subject ?? ''), body: String(body ?? '') });
        },

        // Searches the present view, where an empty text shows all of it; answers how many are shown.
        search(text) {
            setQuery(String(text ?? ''));
            return shown().length;
        },

        // Answers the open conversation as a document for paper; empty without one, or while its messages are on their way.
        printable() {
            const conversation = find(state.open);
            const messages = conversation && state.messages.get(conversation.id);
            if (!messages)
                return '';
            const paper = document.implementation.createHTMLDocument(conversation.subject);
            const add = (parent, name, text) => {
                const made = paper.createElement(name);
                made.textContent = text;
                parent.append(made);
                return made;
            };
            add(paper.head, 'style', `body { font: 11pt/1.5 "DejaVu Serif", serif; } h1 { font-size: 18pt; }
                article { margin-top: 18pt; padding-top: 9pt; border-top: .5pt solid #999; }
                h2 { font-size: 11pt; margin: 0; } time { color: #555; } p { white-space: pre-wrap; }`);
            add(paper.body, 'h1', conversation.subject);
            for (const message of messages) {
                const article = paper.createElement('article');
                add(article, 'h2', `${message.from.name} to ${message.to.name}`);
                add(article, 'time', new Date(message.sentAt).toLocaleString());
                add(article, 'p', message.text);
                paper.body.append(article);
            }
            return '<!DOCTYPE html>' + paper.documentElement.outerHTML;
        },

        // Answers how many conversations are unread and not done.
        unread: unreadCount,
    });

    function start() {
        connect();
        loadList();
        window.LumoSuite.obeyAddress();
    }

    start();
})();
