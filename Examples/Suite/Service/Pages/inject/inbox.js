// What Lumo for Inbox runs in its page, in the version that the service gives out. Running it again replaces what it did
// before.
(() => {
    const version = typeof nextVersion === 'undefined' ? 'service' : 'service, next';

    // Links that leave the suite say so before they are followed.
    document.getElementById('lumo-inject')?.remove();
    const style = document.createElement('style');
    style.id = 'lumo-inject';
    style.textContent = '.message a[href^="http"]::after { content: " ↗"; }';
    document.head.append(style);

    document.documentElement.dataset.inject = version;
    window.webkit?.messageHandlers?.injected?.postMessage(version);
})();
undefined;
