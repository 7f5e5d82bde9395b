// What the page remembers: settings and limits for good, the password for this tab and this broker only.

const PREFIX = "orvex-fleet-";

/// A remembered object, or the default; a browser may refuse to remember.
export function recall(name, otherwise) {
    try {
        return JSON.parse(localStorage.getItem(PREFIX + name)) ?? otherwise;
    } catch {
        return otherwise;
    }
}

export function remember(name, object) {
    try {
        localStorage.setItem(PREFIX + name, JSON.stringify(object));
    } catch {
        // The page works without.
    }
}

/// The password that was typed for this address and user in this tab. A link to another broker does not get it.
export function recallPassword(address, user) {
    try {
        const kept = JSON.parse(sessionStorage.getItem(`${PREFIX}password`));
        return kept?.address === address && kept.user === user ? kept.password : "";
    } catch {
        return "";
    }
}

export function rememberPassword(address, user, password) {
    try {
        sessionStorage.setItem(`${PREFIX}password`, JSON.stringify({ address, user, password }));
    } catch {
        // It is asked for again.
    }
}
