// How far a gateway's clock is from this browser's, so that a value's age is right when one of them is wrong. The
// shortest way of the last minute or two counts: everything longer is the network's. Only when all messages take much
// longer for a while, the gateway's clock has been put back.

const BUCKET_MS = 60000;
const JUMP_MS = 5000;
const JUMP_SURE_MS = 10000;

export class ClockOffset {
    #current = null;
    #before = null;
    #started = 0;
    #long = null; // the messages that take much longer: { since, shortest }

    /// A message that was written at `sent` by the gateway's clock has come at `came` by ours.
    take(sent, came) {
        const way = came - sent;
        if (came - this.#started > BUCKET_MS || came < this.#started) {
            this.#before = this.#current;
            this.#current = null;
            this.#started = came;
        }
        const isKnown = this.#current !== null || this.#before !== null;
        if (isKnown && way > this.ms + JUMP_MS) this.#takeLong(way, came);
        else this.#long = null;
        if (this.#current === null || way < this.#current) this.#current = way;
    }

    #takeLong(way, came) {
        this.#long ??= { since: came, shortest: way };
        this.#long.shortest = Math.min(this.#long.shortest, way);
        if (came - this.#long.since < JUMP_SURE_MS) return;
        [this.#current, this.#before, this.#started] = [this.#long.shortest, null, came];
        this.#long = null;
    }

    /// Milliseconds that our clock is ahead; 0 while nothing is known.
    get ms() {
        if (this.#current === null) return this.#before ?? 0;
        return this.#before === null ? this.#current : Math.min(this.#current, this.#before);
    }
}
