// Bundles the page into the folder that it is told: index.html, fleet.js, fleet.css, the licences of what is in them.
// Called by scripts/make-fleet-page.

import { build } from "esbuild";
import { copyFileSync, existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const out = process.argv[2];

/// The packages that may be in the bundle: mqtt comes bundled with those it needs.
function packages() {
    const names = ["mqtt", "uplot"];
    for (const name of names) {
        const { dependencies = {} } = JSON.parse(readFileSync(join(here, "node_modules", name, "package.json")));
        for (const needed of Object.keys(dependencies)) {
            if (!needed.startsWith("@types/") && !names.includes(needed)) names.push(needed);
        }
    }
    return names.sort();
}

function licence(name) {
    const folder = join(here, "node_modules", name);
    const { version, license } = JSON.parse(readFileSync(join(folder, "package.json")));
    const file = readdirSync(folder).find((entry) => /^licen[cs]e/i.test(entry));
    const words = file ? readFileSync(join(folder, file), "utf8").trim() : `Licence: ${license}`;
    return `${name} ${version} (${license})\n${"-".repeat(60)}\n${words}\n`;
}

mkdirSync(out, { recursive: true });
await build({
    absWorkingDir: here,
    entryPoints: { fleet: "src/main.js" },
    bundle: true,
    minify: true,
    format: "iife",
    platform: "browser",
    target: ["chrome123", "firefox128", "safari17.5"], // from here on they know light-dark()
    legalComments: "inline",
    outdir: out,
    logLevel: "warning",
});
await build({
    absWorkingDir: here,
    entryPoints: { fleet: "style.css" },
    bundle: true,
    minify: true,
    target: ["chrome123", "firefox128", "safari17.5"],
    outdir: out,
    logLevel: "warning",
});
// Presets the address of the broker; whoever sets the page up fills it in, so it is not written over.
if (!existsSync(join(out, "fleet.json"))) writeFileSync(join(out, "fleet.json"), "{}\n");
copyFileSync(join(here, "index.html"), join(out, "index.html"));
// mqtt's own bundle has these in it, but no package of ours depends on them.
const BROWSER_MODULES = `@jspm/core (Apache-2.0), browser versions of modules of Node.js
${"-".repeat(60)}
https://www.apache.org/licenses/LICENSE-2.0
`;
const notes = packages().filter((name) => existsSync(join(here, "node_modules", name))).map(licence);
writeFileSync(join(out, "licences.txt"),
    `fleet.js and fleet.css contain these packages, or parts of them.\n\n${[...notes, BROWSER_MODULES].join("\n\n")}`);
