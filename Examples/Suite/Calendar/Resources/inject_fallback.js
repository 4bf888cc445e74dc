// What Lumo for Calendar runs in its page, in the version that is shipped with it. Running it again changes nothing.
(() => {
    const version = 'shipped';

    // In a window of its own there is room for the numbers of the weeks.
    window.LumoCalendar?.showWeekNumbers(true);

    document.documentElement.dataset.inject = version;
    window.webkit?.messageHandlers?.injected?.postMessage(version);
})();
undefined;
