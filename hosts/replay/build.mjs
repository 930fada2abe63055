// Makes the page template: node build.mjs OUTPUT. One file with everything in it; what remains to be filled in are the
// markers @TITLE@ and @TAKE@.

import {createHash} from 'node:crypto';
import {mkdir, readFile, rename, writeFile} from 'node:fs/promises';
import path from 'node:path';
import {fileURLToPath} from 'node:url';
import {build} from 'esbuild';

const HERE = path.dirname(fileURLToPath(import.meta.url));
const TAKE_LINE = '\n<script id="take" type="application/octet-stream">@TAKE@</script>\n';
/// Libraries whose code is in the page.
const LIBRARIES = ['three', 'uplot'];

async function bundle() {
    const result = await build({
        absWorkingDir: HERE,
        entryPoints: ['src/main.js'],
        bundle: true,
        write: false,
        minify: true,
        format: 'iife',
        target: ['chrome111', 'firefox113', 'safari16.4'],
        charset: 'ascii',
        legalComments: 'inline',
        logLevel: 'warning',
    });
    const script = result.outputFiles[0].text.trim();
    // Inside a script element a comment of HTML would swallow the element's end.
    if (script.includes('<!--')) throw new Error('the script contains <!--, which HTML reads as a comment');
    return script;
}

async function styles() {
    const own = await readFile(path.join(HERE, 'src/style.css'), 'utf8');
    const charts = await readFile(path.join(HERE, 'node_modules/uplot/dist/uPlot.min.css'), 'utf8');
    return `\n${charts.trim()}\n${own}`;
}

async function licences() {
    const texts = await Promise.all(
        LIBRARIES.map(async (name) => {
            const text = await readFile(path.join(HERE, 'node_modules', name, 'LICENSE'), 'utf8');
            const {version} = JSON.parse(await readFile(path.join(HERE, 'node_modules', name, 'package.json'), 'utf8'));
            return `${name} ${version}\n\n${text.trim()}\n`;
        }),
    );
    return `\nThis page contains the following libraries.\n\n${texts.join('\n')}`.replaceAll('--', '- -');
}

function sha256(text) {
    return `'sha256-${createHash('sha256').update(text).digest('base64')}'`;
}

// Only the page's own script and style may act, and nothing may be fetched; blob: is what a take's own textures are.
function policy(script, style) {
    return (
        `default-src 'none'; script-src ${sha256(script)}; style-src ${sha256(style)}; img-src data: blob:; ` +
        "connect-src blob:; base-uri 'none'; form-action 'none'"
    );
}

function fill(page, marker, text) {
    const parts = page.split(marker);
    if (parts.length !== 2) throw new Error(`page.html must have ${marker} once, not ${parts.length - 1} times`);
    return parts.join(text);
}

async function makePage() {
    const [script, style] = [await bundle(), await styles()];
    let page = await readFile(path.join(HERE, 'src/page.html'), 'utf8');
    page = fill(page, '@LICENCES@', await licences());
    page = fill(page, '@POLICY@', policy(script, style));
    page = fill(page, '@STYLE@', style);
    page = fill(page, '@SCRIPT@', script);
    for (const [marker, context] of [
        ['@TAKE@', TAKE_LINE],
        ['@TITLE@', '<title>@TITLE@</title>'],
    ]) {
        if (page.split(marker).length !== 2 || !page.includes(context)) {
            throw new Error(`the page must have ${marker} exactly once, in ${context.trim()}`);
        }
    }
    return page;
}

const output = process.argv[2];
if (!output) {
    process.stderr.write('usage: node build.mjs OUTPUT\n');
    process.exit(2);
}
const page = await makePage();
await mkdir(path.dirname(path.resolve(output)), {recursive: true});
await writeFile(`${output}.part`, page);
await rename(`${output}.part`, output);
