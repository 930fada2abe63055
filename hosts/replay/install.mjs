// Installs the packages of package-lock.json beside it, unless they are there: node install.mjs STAMP.
// Several build folders share the packages, so what decides is the lock file's hash and not the time of a file.

import {spawnSync} from 'node:child_process';
import {createHash} from 'node:crypto';
import {mkdirSync, readFileSync, writeFileSync} from 'node:fs';
import path from 'node:path';
import {fileURLToPath} from 'node:url';

const HERE = path.dirname(fileURLToPath(import.meta.url));
const MARK = path.join(HERE, 'node_modules/.installed');

const stamp = process.argv[2];
if (!stamp) {
    process.stderr.write('usage: node install.mjs STAMP\n');
    process.exit(2);
}

const wanted = createHash('sha256')
    .update(readFileSync(path.join(HERE, 'package-lock.json')))
    .digest('hex');
if (installed() !== wanted) {
    const {status, stdout, stderr} = spawnSync('npm', ['ci'], {cwd: HERE, encoding: 'utf8'});
    if (status !== 0) {
        process.stderr.write(
            `${stdout ?? ''}${stderr ?? ''}replay: 'npm ci' in ${HERE} failed; it needs npm and a network\n`,
        );
        process.exit(1);
    }
    writeFileSync(MARK, wanted);
}
mkdirSync(path.dirname(path.resolve(stamp)), {recursive: true});
writeFileSync(stamp, wanted);

function installed() {
    try {
        return readFileSync(MARK, 'utf8');
    } catch {
        return null;
    }
}
