// Asks for the broker and says what the connection is doing.

import { checkAddress } from "./connection.js";
import { recall, recallPassword, remember, rememberPassword } from "./keep.js";
import { byId, setText } from "./page.js";
import { locale, text } from "./texts.js";

const PROBLEMS = ["refused", "denied", "blocked"];

export class ConnectionForm {
    #status = "closed";
    #address = "";
    #lostAt = null;
    #preset = {};

    /// `onOpen({ address, user, password, prefix })` and `onClose()`.
    constructor({ onOpen, onClose }) {
        this.onOpen = onOpen;
        this.dialog = byId("connectionForm");
        byId("connection").addEventListener("click", () => this.show());
        byId("cancel").addEventListener("click", () => this.dialog.close());
        byId("disconnect").addEventListener("click", () => {
            this.dialog.close();
            onClose();
        });
        this.dialog.querySelector("form").addEventListener("submit", (event) => {
            event.preventDefault();
            this.#submit();
        });
    }

    /// Connects at once if everything is known, else asks. `preset` has been given with the page: address and prefix,
    /// and whether the address comes from beside the page and not from a link that anybody may have made.
    start(preset) {
        this.#preset = preset;
        const known = this.#known();
        this.#fill(known);
        const address = checkAddress(known.address, isSecure());
        if (address === null || known.isNew || (known.user !== "" && known.password === "")) this.show();
        else this.onOpen({ ...known, address });
    }

    show() {
        if (this.dialog.open) return;
        this.#fill(this.#known());
        this.#say();
        byId("disconnect").hidden = ["closed", ...PROBLEMS].includes(this.#status);
        this.dialog.showModal();
        const isMissing = byId("address").value !== "" && byId("user").value !== "";
        byId(isMissing ? "password" : "address").focus();
    }

    /// `lostAt`: when the connection was lost that what is shown came over, or null.
    showStatus(status, address, lostAt) {
        this.#status = status;
        this.#lostAt = lostAt;
        this.#address = address;
        this.translate();
        if (PROBLEMS.includes(status)) this.show();
        if (status === "connected") this.dialog.close();
    }

    translate() {
        const past = this.#lostAt !== null && text("frozen", new Date(this.#lostAt).toLocaleTimeString(locale()));
        setText(byId("connectionText"), [text(this.#status, this.#address), past].filter(Boolean).join(" "));
        byId("connection").dataset.status = this.#status;
        if (this.dialog.open) this.#say();
    }

    #known() {
        const kept = recall("connection", null);
        const address = this.#preset.address ?? kept?.address ?? "";
        const user = kept?.user ?? "";
        const checked = checkAddress(address, isSecure());
        return {
            address, user,
            password: recallPassword(checked, user),
            prefix: this.#preset.prefix ?? kept?.prefix ?? "orvex",
            isNew: !this.#preset.isTrusted && (kept === null || checkAddress(kept.address, isSecure()) !== checked),
        };
    }

    #fill({ address, user, password, prefix }) {
        byId("address").value = address;
        byId("user").value = user;
        byId("password").value = password;
        byId("prefix").value = prefix;
    }

    #say(problem = PROBLEMS.includes(this.#status) ? text(this.#status, this.#address) : "") {
        setText(byId("connectionProblem"), problem);
    }

    #submit() {
        const typed = byId("address").value;
        const address = checkAddress(typed, isSecure());
        if (address === null) {
            this.#say(text("unsuitable", typed));
            byId("address").focus();
            return;
        }
        const user = byId("user").value.trim();
        const password = byId("password").value;
        const prefix = byId("prefix").value.replace(/^\/+|[/+#\s]+$/g, "") || "orvex";
        remember("connection", { address, user, prefix });
        rememberPassword(address, user, password);
        this.#preset = { ...this.#preset, address, prefix };
        this.dialog.close();
        this.onOpen({ address, user, password, prefix });
    }
}

function isSecure() {
    return location.protocol === "https:";
}
