// What the application runs in its page, in the version that is shipped with it. Running it again changes nothing.
(() => {
    const version = 'shipped';

    document.documentElement.dataset.inject = version;
    window.webkit?.messageHandlers?.injected?.postMessage(version);
})();
undefined;
