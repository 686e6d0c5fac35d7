'use strict';

// Logs as a kernel prints them, for pages of every size.

class Log {
    constructor() {
        this.lines = ['binder transactions:'];
        this.last = 100;
    }

    process(pid, ...threads) {
        this.lines.push(`proc ${pid}`, 'context binder', ...threads.flat());
        return this;
    }

    // A pool thread that waits in a call; to "P:0", nobody has taken it.
    waiting(from, to, ms) {
        return [
            `  thread ${from.split(':')[1]}: l 12 need_return 0 tr 0`,
            `    outgoing transaction ${++this.last}: 00000000a7cbb32f from ${from} to ${to} ` +
                `code 3 flags 10 pri 0 r1 elapsed ${ms}ms`,
        ];
    }

    // Serves the call that was written last.
    serving(from, to, ms) {
        return [
            `  thread ${to.split(':')[1]}: l 12 need_return 0 tr 0`,
            `    incoming transaction ${this.last}: 00000000a7cbb32f from ${from} to ${to} ` +
                `code 3 flags 10 pri 0 r1 elapsed ${ms}ms node 28 size 0:0 offset 0`,
        ];
    }

    text() {
        return this.lines.join('\n') + '\n';
    }
}

// About `count` threads: a deadlock of two pools, more than half of all queued for one pool, which
// waits at the end of a chain of forty processes, and many small hangs.
function crowdedLog(count) {
    const log = new Log();
    for (const [pid, other] of [
        [500, 600],
        [600, 500],
    ]) {
        log.process(
            pid,
            ...[0, 1, 2, 3].map((at) => log.waiting(`${pid}:${pid + at}`, `${other}:0`, 9000 + at)),
        );
    }
    log.process(
        1000,
        ...Array.from({length: 32}, (_, at) =>
            log.waiting(`1000:${1001 + at}`, '2000:2000', 8000 + at),
        ),
    );
    for (let pid = 2000; pid < 2039; ++pid) {
        log.process(pid, log.waiting(`${pid}:${pid}`, `${pid + 1}:${pid + 1}`, 7000));
    }
    log.process(2039, log.serving('2038:2038', '2039:2039', 7000));
    const queued = Math.floor(0.6 * count);
    for (let at = 0; at < queued; at += 20) {
        const pid = 10000 + 2 * at;
        log.process(
            pid,
            ...Array.from({length: 20}, (_, each) =>
                log.waiting(`${pid}:${pid + each}`, '1000:0', 6000 - at),
            ),
        );
    }
    for (let at = queued + 80; at < count; at += 3) {
        const pid = 100000 + 4 * at;
        log.process(pid, log.waiting(`${pid}:${pid}`, `${pid + 1}:${pid + 1}`, 1500 + at));
        log.process(pid + 1, log.serving(`${pid}:${pid}`, `${pid + 1}:${pid + 1}`, 1500 + at));
        log.process(pid + 2, log.waiting(`${pid + 2}:${pid + 2}`, `${pid + 1}:0`, 1400 + at));
    }
    return log.text();
}

module.exports = {Log, crowdedLog};
