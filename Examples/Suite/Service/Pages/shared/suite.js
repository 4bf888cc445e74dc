'use strict';

// What the pages of the suite have in common: the way to the native host and to the service, and what they are made of.
(() => {
    const toneCount = 8;

    // In a plain web browser there is no host, and nothing is missing without one.
    const hears = (name) => Boolean(window.webkit?.messageHandlers?.[name]);

    function post(name, body) {
        window.webkit?.messageHandlers?.[name]?.postMessage(body);
    }

    function report(message, source = '', line = 0) {
        post('pageError', { message: String(message), source: String(source), line: Number(line) || 0 });
    }

    window.addEventListener('error', (event) => report(event.message, event.filename, event.lineno));
    window.addEventListener('unhandledrejection', (event) => {
        report(event.reason?.message ?? event.reason, location.href);
    });

    // Whoever has signed in comes back to this page.
    function signIn() {
        const parameters = new URLSearchParams(location.search);
        parameters.set('to', location.pathname.split('/')[1]);
        location.replace(`/sign-in/?${parameters}`);
    }

    async function fetchJson(path, options = {}) {
        const response = await fetch(path, { ...options, headers: { Accept: 'application/json', ...options.headers } });
        if (response.status === 401)
            signIn();
        if (!response.ok)
            throw new Error(`${options.method ?? 'GET'} ${path} answered ${response.status}`);
        return response.json();
    }

    // Text from the server only ever becomes a text node.
    function make(tag, className, text) {
        const made = document.createElement(tag);
        if (className)
            made.className = className;
        if (text !== undefined)
            made.textContent = text;
        return made;
    }

    function makeIcon(name, className = 'icon') {
        const icon = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
        const use = document.createElementNS('http://www.w3.org/2000/svg', 'use');
        icon.setAttribute('class', className);
        icon.setAttribute('aria-hidden', 'true');
        use.setAttribute('href', `#icon-${name}`);
        icon.append(use);
        return icon;
    }

    function tone(text) {
        let sum = 11;
        for (const letter of text)
            sum = (sum * 31 + letter.codePointAt(0)) % 1000003;
        return `tone-${sum % toneCount}`;
    }

    // Names take their tones in turn, so that no two of the first eight look alike.
    const toneInTurn = (name, all) => `tone-${Math.max(all.indexOf(name), 0) % toneCount}`;

    function initials(name) {
        const words = name.split(/[\s-]+/).filter(Boolean).filter((word) => !/^the$/i.test(word));
        const letters = [words[0], words.length > 1 ? words.at(-1) : ''].map((word) => [...(word ?? '')][0] ?? '');
        return letters.join('').toUpperCase();
    }

    // Who the page belongs to, at the end of its sidebar.
    function renderOwner(owner) {
        const element = (id) => document.getElementById(id);
        element('owner-avatar').className = 'avatar own';
        element('owner-avatar').textContent = initials(owner.name);
        element('owner-name').textContent = owner.name;
        element('owner-address').textContent = owner.address;
    }

    const plural = (count, one, many) => `${count} ${count === 1 ? one : many}`;

    // What an address may ask of every page.
    function obeyAddress() {
        const parameters = new URLSearchParams(location.search);
        // A host that draws its window buttons over the page says how much room they need.
        const titleBar = Number(parameters.get('titlebar'));
        if (titleBar > 0 && titleBar <= 120)
            document.documentElement.style.setProperty('--title-bar-height', `${titleBar}px`);
        if (parameters.get('raise') === 'error') {
            setTimeout(() => {
                throw new Error('This error was asked for.');
            }, 0);
        }
        const lanes = Number(parameters.get('lanes'));
        window.LumoBackground?.start(lanes > 1 && lanes <= 6 ? Math.floor(lanes) : 1);
    }

    window.LumoSuite = Object.freeze({
        element: (id) => document.getElementById(id),
        hears, post, report, signIn, fetchJson, make, makeIcon, tone, toneInTurn, initials, renderOwner, plural,
        obeyAddress,
    });
})();
