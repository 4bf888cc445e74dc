'use strict';

// What the page asks for in the background: whether there is news, on several connections at once where it is told to, and
// now and then another cookie in place of the one that turns.
//
// The service forgives a request with the cookie that was just replaced, and none with an older one: a cookie is replaced
// again only when all requests that began before it arrived have ended.
(() => {
    const milliseconds = { rest: 20000, busy: 0, failed: 1000 };

    async function ask(path, options) {
        const response = await fetch(path, options);
        if (response.status === 401)
            window.LumoSuite.signIn();
        if (!response.ok)
            throw new Error(`${path} answered ${response.status}`);
    }

    const after = (time) => new Promise((done) => setTimeout(done, time));

    // `lanes` requests at once, without a rest where there is more than one.
    window.LumoBackground = Object.freeze({
        start(lanes) {
            const rest = lanes > 1 ? milliseconds.busy : milliseconds.rest;
            const ended = Array(lanes).fill(-1); // of each lane, how many turns there had been when its last request began
            let turns = 0;

            async function runLane(lane) {
                for (;;) {
                    const begun = turns;
                    try {
                        await ask('/api/news');
                        ended[lane] = begun;
                        await after(rest);
                    } catch {
                        ended[lane] = begun;
                        await after(milliseconds.failed);
                    }
                }
            }

            async function turn() {
                for (;;) {
                    if (Math.min(...ended) < turns) {
                        await after(lanes > 1 ? 1 : 100);
                        continue;
                    }
                    try {
                        await ask('/api/turn', { method: 'POST', headers: { 'Content-Type': 'application/json' } });
                        turns += 1;
                    } catch {
                        await after(milliseconds.failed);
                    }
                }
            }

            for (let lane = 0; lane < lanes; ++lane)
                runLane(lane);
            turn();
        },
    });
})();
