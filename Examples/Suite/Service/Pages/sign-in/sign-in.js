'use strict';

(() => {
    const element = (id) => document.getElementById(id);

    function post(name, body) {
        window.webkit?.messageHandlers?.[name]?.postMessage(body);
    }

    // Back to the page that asked for it, with all that its address says.
    function goOn() {
        const pages = ['inbox', 'calendar', 'mail', 'dashboard'];
        const parameters = new URLSearchParams(location.search);
        const to = pages.includes(parameters.get('to')) ? parameters.get('to') : 'inbox';
        parameters.delete('to');
        location.replace(`/${to}/${parameters.size ? `?${parameters}` : ''}`);
    }

    async function listAccounts() {
        const answer = await (await fetch('/api/accounts')).json();
        for (const { name, address } of answer.accounts)
            element('address').add(new Option(`${name} – ${address}`, address));
        element('password').focus();
    }

    async function signIn() {
        element('submit').disabled = true;
        element('problem').hidden = true;
        const response = await fetch('/api/sign-in', {
            method: 'POST',
            headers: { 'Content-Type': 'application/json' },
            body: JSON.stringify({ address: element('address').value, password: element('password').value }),
        });
        if (response.ok)
            return goOn();
        element('submit').disabled = false;
        element('problem').textContent = response.status === 403
            ? 'The password is not right.' : 'The service could not sign you in.';
        element('problem').hidden = false;
        element('password').select();
    }

    element('form').addEventListener('submit', (event) => {
        event.preventDefault();
        signIn();
    });

    // What the host may call.
    window.LumoSignIn = Object.freeze({
        // Signs in as a person would.
        signIn(address, password) {
            element('address').value = address;
            element('password').value = password;
            element('form').requestSubmit();
        },
    });

    listAccounts().then(() => post('signInShown', null));
})();
