// What the application runs in its page, in the version that the service gives out. Running it again changes nothing.
(() => {
    const version = typeof nextVersion === 'undefined' ? 'service' : 'service, next';

    document.documentElement.dataset.inject = version;
    window.webkit?.messageHandlers?.injected?.postMessage(version);
})();
undefined;
