// Real brokers on loopback for the tests: nats-server, or mosquitto where a name is tried that nats-server refuses.

import { spawn } from "node:child_process";
import { mkdirSync, writeFileSync } from "node:fs";
import { connect, createServer } from "node:net";
import { join } from "node:path";

export const USER = "page";
export const PASSWORD = "secret";

export async function freePort() {
    const server = createServer().listen(0, "127.0.0.1");
    await new Promise((done) => server.once("listening", done));
    const { port } = server.address();
    await new Promise((done) => server.close(done));
    return port;
}

/// Waits until something listens; throws after ten seconds.
async function listening(port) {
    for (let i = 0; i < 200; i += 1) {
        const isThere = await new Promise((done) => {
            const socket = connect(port, "127.0.0.1", () => done(true)).on("error", () => done(false));
            socket.on("close", () => socket.destroy());
            socket.on("connect", () => socket.end());
        });
        if (isThere) return;
        await new Promise((done) => setTimeout(done, 50));
    }
    throw new Error(`nothing listens on port ${port}`);
}

export class Broker {
    static async nats(folder, { isOpen = false } = {}) {
        const [tcp, mqtt, web] = [await freePort(), await freePort(), await freePort()];
        mkdirSync(folder, { recursive: true });
        writeFileSync(join(folder, "broker.conf"), `
            server_name: test
            listen: "127.0.0.1:${tcp}"
            jetstream { store_dir: "${folder}/store" }
            mqtt { listen: "127.0.0.1:${mqtt}" }
            websocket { listen: "127.0.0.1:${web}", no_tls: true }
            ${isOpen ? "" : `authorization { users: [{ user: "${USER}", password: "${PASSWORD}" }] }`}`);
        return new Broker("nats-server", ["-c", join(folder, "broker.conf")], mqtt, web, "/mqtt");
    }

    static async mosquitto(folder) {
        const [mqtt, web] = [await freePort(), await freePort()];
        mkdirSync(folder, { recursive: true });
        writeFileSync(join(folder, "broker.conf"),
            `listener ${mqtt} 127.0.0.1\nlistener ${web} 127.0.0.1\nprotocol websockets\nallow_anonymous true\n`);
        return new Broker("mosquitto", ["-c", join(folder, "broker.conf")], mqtt, web, "/mqtt");
    }

    constructor(program, options, mqttPort, webPort, path) {
        Object.assign(this, { program, options, mqttPort, webPort });
        this.address = `ws://127.0.0.1:${webPort}${path}`;
    }

    async start() {
        this.child = spawn(this.program, this.options, { stdio: "ignore" });
        this.child.once("error", () => {}); // it is missing: nothing will listen
        await listening(this.webPort);
        await listening(this.mqttPort);
    }

    async stop() {
        if (!this.child || this.child.exitCode !== null || this.child.signalCode !== null) return;
        const ended = new Promise((done) => this.child.once("exit", done));
        this.child.kill("SIGTERM");
        const late = setTimeout(() => this.child.kill("SIGKILL"), 3000);
        await ended;
        clearTimeout(late);
    }
}
