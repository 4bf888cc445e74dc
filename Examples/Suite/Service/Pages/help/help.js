'use strict';

// A form that a host opens with some of its fields filled in: "prefill_" and the name of a field.
(() => {
    const element = (id) => document.getElementById(id);
    const parameters = new URLSearchParams(location.search);
    const facts = ['application', 'version', 'browser', 'system'];
    const contactCookie = 'help_contact';
    const year = 365 * 24 * 60 * 60;

    function post(body) {
        window.webkit?.messageHandlers?.help?.postMessage(body);
    }

    // Whoever has written before need not say again where answers go.
    function knownContact() {
        const cookie = document.cookie.split('; ').find((each) => each.startsWith(`${contactCookie}=`));
        return cookie ? decodeURIComponent(cookie.slice(contactCookie.length + 1)) : null;
    }

    const prefilled = (name) => parameters.get(`prefill_${name}`) ?? '';

    async function send() {
        element('submit').disabled = true;
        element('problem').hidden = true;
        const contact = element('contact').value;
        document.cookie = `${contactCookie}=${encodeURIComponent(contact)}; Path=/help/; SameSite=Strict; Max-Age=${year}`;
        const response = await fetch('/api/help', {
            method: 'POST',
            headers: { 'Content-Type': 'application/json' },
            body: JSON.stringify({ contact, question: element('question').value,
                facts: facts.map(prefilled).filter(Boolean).join(', ') }),
        });
        element('submit').disabled = false;
        element('problem').hidden = response.ok;
        post(response.ok ? { asked: (await response.json()).number } : { failed: response.status });
    }

    element('form').addEventListener('submit', (event) => {
        event.preventDefault();
        send();
    });
    element('contact').value = knownContact() ?? prefilled('contact');
    element('facts').textContent = facts.map(prefilled).filter(Boolean).join(' · ');

    // What the host may call.
    window.LumoHelp = Object.freeze({
        // Writes as a person would.
        write(contact, question) {
            element('contact').value = contact;
            element('question').value = question;
            element('form').requestSubmit();
        },
    });
    post({ form: element('contact').value, facts: element('facts').textContent, browser: navigator.userAgent });
})();
