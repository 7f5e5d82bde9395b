// The connection to the broker: MQTT 3.1.1 over WebSockets. Reports what it is doing and tries again by itself, except
// after a refused user or password.

import mqtt from "mqtt";

const FIRST_PAUSE_MS = 1000;
const LONGEST_PAUSE_MS = 15000;
const REFUSED_CODES = [4, 5]; // wrong user or password; not authorised
const FAILED_SUBSCRIPTION = 0x80;

/// What is subscribed to below the prefix. Values once at most: the page records nothing, and what it misses stays in
/// the gateway's recordings.
const TOPICS = {
    "+/status": 1, "+/event": 1, "+/+/value": 0, "+/+/state": 1, "+/+/parameters": 1, "+/+/event": 1,
};

/// An address that can be connected to, without a user and a password in it, or null. A missing scheme is "ws://", or
/// "wss://" where the page itself came encrypted.
export function checkAddress(typed, isPageSecure = false) {
    const address = typed.trim();
    if (address === "") return null;
    try {
        const url = new URL(/^[a-z]+:\/\//i.test(address) ? address : `${isPageSecure ? "wss" : "ws"}://${address}`);
        if (!["ws:", "wss:"].includes(url.protocol) || url.hostname === "") return null;
        return `${url.protocol}//${url.host}${url.pathname === "/" ? "" : url.pathname}${url.search}`;
    } catch {
        return null;
    }
}

export class Connection {
    #client = null;

    /// `onStatus(what, address)` with "closed", "connecting", "connected", "lost", "refused", "denied" or "blocked",
    /// which are also texts; `onMessage(topic, payload, isRetained)`.
    constructor({ onStatus, onMessage }) {
        this.onStatus = onStatus;
        this.onMessage = onMessage;
    }

    /// Ends what there is and connects anew. `address` has been checked.
    open({ address, user, password, prefix }) {
        this.#end();
        this.onStatus("connecting", address);
        let client;
        try {
            client = mqtt.connect(address, {
                protocolVersion: 4,
                clean: true,
                clientId: `orvex-page-${crypto.getRandomValues(new Uint32Array(2)).join("")}`,
                username: user || undefined,
                password: user ? password : undefined,
                keepalive: 20,
                connectTimeout: 10000,
                reconnectPeriod: FIRST_PAUSE_MS,
                resubscribe: false,
            });
        } catch {
            this.onStatus("blocked", address); // a page with https may not open ws://
            return;
        }
        this.#client = client;
        const topics = Object.fromEntries(
            Object.entries(TOPICS).map(([topic, qos]) => [`${prefix}/${topic}`, { qos }]));
        this.#listen(client, address, topics);
    }

    close() {
        this.#end();
        this.onStatus("closed", "");
    }

    #listen(client, address, topics) {
        client.on("connect", () => {
            client.options.reconnectPeriod = FIRST_PAUSE_MS;
            this.onStatus("connected", address);
            client.subscribe(topics, (error, granted) => {
                const isDenied = granted?.some((one) => one.qos >= FAILED_SUBSCRIPTION);
                if (client === this.#client && (isDenied || (error && client.connected))) {
                    this.onStatus("denied", address);
                }
            });
        });
        client.on("close", () => {
            if (client !== this.#client) return;
            client.options.reconnectPeriod = Math.min(client.options.reconnectPeriod * 1.5, LONGEST_PAUSE_MS);
            this.onStatus("lost", address);
        });
        client.on("error", (error) => {
            if (client !== this.#client || !REFUSED_CODES.includes(error.code)) return; // "close" says the rest
            this.#end();
            this.onStatus("refused", address);
        });
        client.on("message", (topic, payload, packet) => {
            if (client === this.#client) this.onMessage(topic, payload, packet.retain);
        });
    }

    #end() {
        const client = this.#client;
        this.#client = null;
        client?.end(true);
    }
}
