// What Lumo for Calendar runs in its page, in the version that the service gives out. Running it again changes nothing.
(() => {
    const version = typeof nextVersion === 'undefined' ? 'service' : 'service, next';

    // In a window of its own there is room for the numbers of the weeks.
    window.LumoCalendar?.showWeekNumbers(true);

    document.documentElement.dataset.inject = version;
    window.webkit?.messageHandlers?.injected?.postMessage(version);
})();
undefined;
