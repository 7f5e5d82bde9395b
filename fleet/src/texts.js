// Every text that the page shows, in German and English. What comes from the broker is shown as it is.

const TEXTS = {
    title: ["Orvex – alle Sensoren", "Orvex – all sensors"],
    heading: ["Alle Sensoren", "All sensors"],
    // Connection.
    closed: ["Nicht verbunden", "Not connected"],
    connecting: ["Verbindet mit %1 …", "Connecting to %1 …"],
    connected: ["Verbunden mit %1", "Connected to %1"],
    lost: ["Keine Verbindung zu %1, neuer Versuch läuft.", "No connection to %1, trying again."],
    refused: ["%1 lehnt Benutzer oder Kennwort ab.", "%1 refuses the user or the password."],
    denied: ["%1 erlaubt dem Benutzer das Lesen nicht.", "%1 does not let the user read."],
    unsuitable: [
        "%1 ist keine Adresse eines Brokers; erwartet: ws://Rechner:Port oder wss://Rechner:Port.",
        "%1 is not the address of a broker; expected: ws://host:port or wss://host:port.",
    ],
    blocked: [
        "Der Browser erlaubt %1 auf dieser Seite nicht. Eine Seite mit https braucht wss://.",
        "The browser does not allow %1 on this page. A page with https needs wss://.",
    ],
    frozen: ["Alle Werte sind von %1.", "All values are from %1."],
    connection: ["Verbindung", "Connection"],
    address: ["Adresse des Brokers", "Address of the broker"],
    user: ["Benutzer", "User"],
    password: ["Kennwort", "Password"],
    passwordHint: ["Wird nur bis zum Schließen dieses Tabs behalten.", "Is kept only until this tab is closed."],
    prefix: ["Präfix der Topics", "Prefix of the topics"],
    connect: ["Verbinden", "Connect"],
    disconnect: ["Trennen", "Disconnect"],
    cancel: ["Abbrechen", "Cancel"],
    close: ["Schließen", "Close"],
    // Tools of the page.
    language: ["English", "Deutsch"],
    languageHint: ["Show the page in English", "Seite auf Deutsch anzeigen"],
    themeAuto: ["Wie System", "As system"],
    themeLight: ["Hell", "Light"],
    themeDark: ["Dunkel", "Dark"],
    theme: ["Darstellung", "Appearance"],
    large: ["Groß", "Large"],
    largeHint: ["Große Anzeige für die Wand", "Large display for the wall"],
    hold: ["Anhalten", "Freeze"],
    holdHint: [
        "Tabelle anhalten; Werte und Alarme laufen weiter",
        "Freeze the table; values and alarms go on",
    ],
    search: ["Sensor oder Gateway suchen", "Search sensor or gateway"],
    filter: ["Nach Zustand filtern", "Filter by state"],
    all: ["Alle", "All"],
    none: ["Kein Sensor passt.", "No sensor matches."],
    waiting: ["Noch kein Sensor hat sich gemeldet.", "No sensor has reported yet."],
    shownCount: ["%1 von %2 Sensoren", "%1 of %2 sensors"],
    // Columns.
    state: ["Zustand", "State"],
    sensor: ["Sensor", "Sensor"],
    gateway: ["Gateway", "Gateway"],
    value: ["Messwert", "Value"],
    age: ["Alter", "Age"],
    course: ["Letzte 5 min", "Last 5 min"],
    courseHint: ["Nach der Spanne der Werte sortieren", "Sort by the range of the values"],
    temperature: ["Temp.", "Temp."],
    valid: ["Gültig", "Valid"],
    noEcho: ["Ohne Echo", "No echo"],
    damaged: ["Beschädigt", "Damaged"],
    lineLost: ["Abrisse", "Line lost"],
    sortHint: ["%1, sortieren", "%1, sort"],
    // States and values.
    measuring: ["misst", "measuring"],
    idle: ["misst nicht", "idle"],
    noAnswer: ["keine Antwort", "no answer"],
    noPort: ["kein Anschluss", "no port"],
    offline: ["Gateway offline", "gateway offline"],
    stale: ["Wert veraltet", "value stale"],
    unknown: ["unbekannt", "unknown"],
    kindNoEcho: ["kein Echo", "no echo"],
    kindTempError: ["Temperaturfehler", "temperature error"],
    // Alarms.
    alarms: ["Alarme", "Alarms"],
    alarmLow: ["%1: %2 liegt unter %3", "%1: %2 is below %3"],
    alarmHigh: ["%1: %2 liegt über %3", "%1: %2 is above %3"],
    alarmSilent: ["%1: seit %2 kein Messwert", "%1: no value for %2"],
    alarmMore: ["Weitere Alarme: %1", "More alarms: %1"],
    alarmOver: ["vorbei", "over"],
    alarmSince: ["seit %1", "since %1"],
    acknowledge: ["Quittieren", "Acknowledge"],
    acknowledgeOne: ["Quittieren: %1", "Acknowledge: %1"],
    acknowledgeAll: ["Alle quittieren", "Acknowledge all"],
    acknowledged: ["quittiert", "acknowledged"],
    limits: ["Grenzen", "Limits"],
    low: ["Alarm unter", "Alarm below"],
    high: ["Alarm über", "Alarm above"],
    silent: ["Alarm ohne Messwert nach", "Alarm without a value after"],
    seconds: ["s", "s"],
    save: ["Übernehmen", "Apply"],
    saved: ["Übernommen.", "Applied."],
    notANumber: ["„%1“ ist keine Zahl.", "“%1” is not a number."],
    lowAboveHigh: ["Die untere Grenze liegt über der oberen.", "The lower limit is above the upper one."],
    limitsOfAll: ["Grenzen aller Sensoren", "Limits of all sensors"],
    limitsHint: [
        "Die Grenzen eines Sensors werden bei seinen Einzelheiten gesetzt: Sensor anklicken. Dieser Browser merkt sie für diesen Broker.",
        "The limits of a sensor are set in its details: click the sensor. This browser remembers them for this broker.",
    ],
    limitsCount: ["Sensoren mit Grenzen: %1", "Sensors with limits: %1"],
    exportLimits: ["Speichern …", "Save …"],
    importLimits: ["Laden …", "Load …"],
    notLimits: ["Die Datei enthält keine Grenzen.", "The file holds no limits."],
    // Detail view.
    chart: ["Verlauf", "Chart"],
    span: ["Zeitspanne", "Time span"],
    time: ["Zeit", "Time"],
    identity: ["Sensor und Leitung", "Sensor and line"],
    serial: ["Seriennummer", "Serial number"],
    type: ["Gerätetyp", "Device type"],
    softwareVersion: ["Softwareversion", "Software version"],
    softwareBuild: ["Build", "Build"],
    softwareDate: ["Datum der Software", "Software date"],
    attenuator: ["Abschwächer", "Attenuator"],
    laser: ["Roter Laser", "Red laser"],
    laserOn: ["an", "on"],
    laserOff: ["aus", "off"],
    reason: ["Grund", "Reason"],
    lastValue: ["Letzter Messwert", "Last value"],
    recording: ["Aufzeichnung", "Recording"],
    recordingOn: ["läuft", "running"],
    recordingOff: ["läuft nicht", "not running"],
    waitingValues: ["Noch nicht übertragen", "Not sent yet"],
    droppedValues: ["Verworfen", "Dropped"],
    account: ["Bilanz", "Account"],
    bytes: ["Bytes", "Bytes"],
    received: ["Empfangen", "Received"],
    tempError: ["Temperaturfehler", "Temperature errors"],
    shown: ["Angezeigt", "Shown"],
    recorded: ["Aufgezeichnet", "Recorded"],
    passedOver: ["Übergangen", "Passed over"],
    unwritten: ["Nicht geschrieben", "Not written"],
    clockJumps: ["Uhr gestellt", "Clock set"],
    longestGap_ms: ["Längste Lücke", "Longest gap"],
    lineLostLong: ["Verbindung verloren", "Connection lost"],
    parameters: ["Parameter", "Parameters"],
    code: ["Code", "Code"],
    name: ["Name", "Name"],
    parameterValue: ["Wert", "Value"],
    temperatureLong: ["Temperatur", "Temperature"],
    events: ["Ereignisse", "Events"],
    event: ["Ereignis", "Event"],
    details: ["Einzelheiten", "Details"],
    noEvents: ["Keine, seit die Seite offen ist.", "None since the page was opened."],
    noParameters: ["Noch nicht gelesen.", "Not read yet."],
    eventLineLost: ["Verbindung verloren", "line lost"],
    eventLineBack: ["Verbindung wieder da", "line back"],
    eventRefused: ["abgelehnt", "refused"],
    eventChanged: ["geändert", "changed"],
    eventDropped: ["verworfen", "dropped"],
    eventRecordingFailed: ["Aufzeichnung gescheitert", "recording failed"],
};

let language = 1;

/// "de" or "en"; anything else is English.
export function setLanguage(code) {
    language = code === "de" ? 0 : 1;
}

export function currentLanguage() {
    return language === 0 ? "de" : "en";
}

export function locale() {
    return language === 0 ? "de-DE" : "en-GB";
}

/// The text of a key, with "%1" and so on replaced.
export function text(key, ...values) {
    return TEXTS[key][language].replace(/%(\d)/g, (_, n) => values[n - 1]);
}

/// A number with fixed decimals, with the separator of the language. Not Intl, which is too slow for every value drawn.
export function fixed(number, decimals) {
    const plain = number.toFixed(decimals);
    return language === 0 ? plain.replace(".", ",") : plain;
}

/// A count with its thousands apart.
export function count(number) {
    return Math.trunc(number).toString().replace(/\B(?=(\d{3})+$)/g, "\u202f");
}

/// A span of time in a few characters: "3 s", "12 min", "5 h", "40 d".
export function span(seconds) {
    if (seconds < 100) return `${Math.floor(seconds)} s`;
    if (seconds < 6000) return `${Math.floor(seconds / 60)} min`;
    if (seconds < 360000) return `${Math.floor(seconds / 3600)} h`;
    return `${Math.floor(seconds / 86400)} ${language === 0 ? "T" : "d"}`;
}

/// Date and time of this browser's zone.
export function moment(time_ms) {
    return new Date(time_ms).toLocaleString(locale(), { dateStyle: "short", timeStyle: "medium" });
}

/// All texts, for the test that looks at them.
export const allTexts = TEXTS;
