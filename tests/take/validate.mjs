// Runs the Khronos validator over every .glb file of a folder. Usage: node validate.mjs FOLDER
// Exits with 1 if a file has an error or a warning, or if there is no file.

import {readdirSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import validator from 'gltf-validator';

/// The validator cannot know our extension, so it says so and calls unused what only the extension refers to.
const EXPECTED = new Set(['UNSUPPORTED_EXTENSION', 'UNUSED_OBJECT', 'NODE_EMPTY']);

const folder = process.argv[2];
const files = readdirSync(folder).filter((name) => name.endsWith('.glb')).sort();
let findings = 0;
for (const name of files) {
    const report = await validator.validateBytes(new Uint8Array(readFileSync(join(folder, name))), {maxIssues: 0});
    const serious = report.issues.messages.filter(({severity}) => severity <= 1);
    const odd = report.issues.messages.filter(({code, severity}) => severity > 1 && !EXPECTED.has(code));
    const {numErrors, numWarnings, numInfos} = report.issues;
    console.log(`${name}: ${numErrors} errors, ${numWarnings} warnings, ${numInfos} notes`);
    for (const {code, message, pointer} of [...serious, ...odd].slice(0, 20)) {
        console.log(`  ${code} ${pointer}: ${message}`);
    }
    findings += serious.length + odd.length;
}
if (files.length === 0) console.log(`no .glb file in ${folder}`);
process.exit(files.length === 0 || findings > 0 ? 1 : 0);
