// How far a gateway's clock is from this browser's, so that a value's age is right when one of them is wrong. The
// shortest way of the last minute or two counts: everything longer is the network's.

const BUCKET_MS = 60000;

export class ClockOffset {
    #current = null;
    #before = null;
    #started = 0;

    /// A message that was written at `sent` by the gateway's clock has come at `came` by ours.
    take(sent, came) {
        const way = came - sent;
        if (came - this.#started > BUCKET_MS || came < this.#started) {
            this.#before = this.#current;
            this.#current = null;
            this.#started = came;
        }
        if (this.#current === null || way < this.#current) this.#current = way;
    }

    /// Milliseconds that our clock is ahead; 0 while nothing is known.
    get ms() {
        if (this.#current === null) return this.#before ?? 0;
        return this.#before === null ? this.#current : Math.min(this.#current, this.#before);
    }
}
