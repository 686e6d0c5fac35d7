'use strict';

// Drives headless Chromium over the pipe that it offers for this: as a person would, by pointer and
// keys, and records what a person would not see.

const {spawn} = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');

const kPatience = 20000;

class Browser {
    constructor(program) {
        this.profile = fs.mkdtempSync(path.join(os.tmpdir(), 'page-test-'));
        this.process = spawn(
            program,
            [
                '--no-sandbox',
                '--disable-gpu',
                '--hide-scrollbars',
                '--remote-debugging-pipe',
                `--user-data-dir=${this.profile}`,
            ],
            {stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe']},
        );
        this.waiting = new Map();
        this.listeners = new Set();
        this.last = 0;
        let rest = '';
        this.process.stdio[4].on('data', (data) => {
            const messages = (rest + data).split('\0');
            rest = messages.pop();
            messages.forEach((message) => this.take(JSON.parse(message)));
        });
    }

    take(message) {
        const {resolve, reject} = this.waiting.get(message.id) ?? {};
        this.waiting.delete(message.id);
        if (message.error) {
            reject?.(new Error(message.error.message));
        } else if (resolve) {
            resolve(message.result);
        } else {
            this.listeners.forEach((listener) => listener(message));
        }
    }

    send(method, params = {}, sessionId = undefined) {
        const id = ++this.last;
        this.process.stdio[3].write(JSON.stringify({id, method, params, sessionId}) + '\0');
        return new Promise((resolve, reject) => {
            this.waiting.set(id, {resolve, reject});
            setTimeout(() => reject(new Error(`${method}: no answer`)), kPatience).unref();
        });
    }

    async open(address, {width = 1600, height = 1000, features = []} = {}) {
        const {targetId} = await this.send('Target.createTarget', {url: 'about:blank'});
        const {sessionId} = await this.send('Target.attachToTarget', {targetId, flatten: true});
        const tab = new Tab(this, sessionId, targetId);
        await tab.start(address, {width, height, features});
        return tab;
    }

    async close() {
        const ended = new Promise((resolve) => {
            this.process.once('exit', resolve);
        });
        this.send('Browser.close').catch(() => {});
        const impatient = setTimeout(() => this.process.kill('SIGKILL'), 5000);
        await ended;
        clearTimeout(impatient);
        fs.rmSync(this.profile, {recursive: true, force: true, maxRetries: 5});
    }
}

class Tab {
    constructor(browser, session, target) {
        Object.assign(this, {browser, session, target, requests: [], complaints: []});
        this.listener = ({method, params, sessionId}) => {
            if (sessionId === session) {
                this.record(method, params);
            }
        };
        browser.listeners.add(this.listener);
    }

    record(method, params) {
        if (method === 'Network.requestWillBeSent') {
            this.requests.push(params.request.url);
        } else if (method === 'Runtime.exceptionThrown') {
            this.complaints.push(params.exceptionDetails.exception?.description ?? 'exception');
        } else if (method === 'Runtime.consoleAPICalled') {
            this.complaints.push(params.args.map((each) => each.value).join(' '));
        } else if (method === 'Log.entryAdded') {
            this.complaints.push(params.entry.text);
        } else if (method === 'Page.loadEventFired') {
            this.loaded?.();
        }
    }

    send(method, params) {
        return this.browser.send(method, params, this.session);
    }

    async start(address, {width, height, features}) {
        for (const domain of ['Page', 'Runtime', 'Network', 'Log']) {
            await this.send(`${domain}.enable`);
        }
        await this.send('Emulation.setDeviceMetricsOverride', {
            width,
            height,
            deviceScaleFactor: 1,
            mobile: false,
        });
        await this.send('Emulation.setEmulatedMedia', {features});
        const loaded = new Promise((resolve) => {
            this.loaded = resolve;
        });
        const start = performance.now();
        await this.send('Page.navigate', {url: address});
        await loaded;
        await this.settle();
        this.loadTime = performance.now() - start;
    }

    // Until what was asked for is on the screen.
    settle() {
        return this.run(
            'new Promise((done) => requestAnimationFrame(() => ' +
                'requestAnimationFrame(() => setTimeout(done, 0))))',
        );
    }

    async run(expression) {
        const {result, exceptionDetails} = await this.send('Runtime.evaluate', {
            expression,
            awaitPromise: true,
            returnByValue: true,
        });
        if (exceptionDetails) {
            throw new Error(exceptionDetails.exception?.description ?? expression);
        }
        return result.value;
    }

    // The text that a person sees; of several, as a list.
    text(selector) {
        return this.run(`document.querySelector(${JSON.stringify(selector)})?.innerText`);
    }

    texts(selector) {
        return this.run(
            `[...document.querySelectorAll(${JSON.stringify(selector)})]` +
                '.map((each) => each.textContent)',
        );
    }

    count(selector) {
        return this.run(`document.querySelectorAll(${JSON.stringify(selector)}).length`);
    }

    // Presses and lets go in the middle of what it finds, wherever that is on the screen.
    async click(selector) {
        const at = await this.run(`(() => {
            const found = document.querySelector(${JSON.stringify(selector)});
            found?.scrollIntoView({block: 'center'});
            const box = found?.getBoundingClientRect();
            return box && [box.x + box.width / 2, box.y + box.height / 2];
        })()`);
        if (!at) {
            throw new Error(`nothing to click: ${selector}`);
        }
        await this.drag(at, at);
    }

    async drag([x, y], [toX, toY]) {
        const button = {button: 'left', clickCount: 1};
        await this.send('Input.dispatchMouseEvent', {type: 'mousePressed', x, y, ...button});
        await this.send('Input.dispatchMouseEvent', {
            type: 'mouseMoved',
            x: toX,
            y: toY,
            button: 'left',
            buttons: 1,
        });
        await this.send('Input.dispatchMouseEvent', {
            type: 'mouseReleased',
            x: toX,
            y: toY,
            ...button,
        });
        await this.settle();
    }

    async press(...keys) {
        for (const key of keys) {
            const code =
                {
                    Tab: 9,
                    Enter: 13,
                    Escape: 27,
                    Home: 36,
                    ArrowLeft: 37,
                    ArrowUp: 38,
                    ArrowRight: 39,
                    ArrowDown: 40,
                }[key] ?? key.charCodeAt(0);
            const event = {
                key,
                windowsVirtualKeyCode: code,
                text: key === 'Enter' ? '\r' : key.length === 1 ? key : undefined,
            };
            await this.send('Input.dispatchKeyEvent', {type: 'keyDown', ...event});
            await this.send('Input.dispatchKeyEvent', {type: 'keyUp', key});
        }
        await this.settle();
    }

    async type(text) {
        await this.send('Input.insertText', {text});
        await this.settle();
    }

    // What is on the screen, or the whole page.
    async save(file, isWhole = false) {
        const {data} = await this.send('Page.captureScreenshot', {
            format: 'png',
            captureBeyondViewport: isWhole,
        });
        fs.writeFileSync(file, Buffer.from(data, 'base64'));
    }

    async close() {
        this.browser.listeners.delete(this.listener);
        await this.browser.send('Target.closeTarget', {targetId: this.target});
    }
}

module.exports = {Browser};
