// Takes a picture of a page that plays a take:
//   node shot.mjs PAGE.html FRAME CAMERA OUT.png [--size=1280x720] [--dark] [--helpers] [--plain] [--vehicle=N]
// CAMERA: FollowCam, DriverCam, TopViewCam, Orbit or any other camera of the take.

import path from 'node:path';
import {parseArgs} from 'node:util';
import {pathToFileURL} from 'node:url';
import {CHROMIUM, hasChromium, launch} from './support/browser.mjs';

const {values, positionals} = parseArgs({
    allowPositionals: true,
    options: {
        size: {type: 'string', default: '1280x720'},
        dark: {type: 'boolean', default: false},
        helpers: {type: 'boolean', default: false},
        plain: {type: 'boolean', default: false},
        vehicle: {type: 'string', default: '0'},
    },
});
const [page, frame, camera, output] = positionals;
const [width, height] = values.size.split('x').map(Number);

function stop(message) {
    process.stderr.write(`shot: ${message}\n`);
    process.exit(2);
}

if (!output || !(width > 0 && height > 0)) {
    stop(
        'usage: shot.mjs PAGE.html FRAME CAMERA OUT.png [--size=1280x720] [--dark] [--helpers] [--plain] [--vehicle=N]',
    );
}
if (!hasChromium) stop(`no Chromium at ${CHROMIUM}; name one in the variable CHROMIUM`);

const browser = await launch();
try {
    const context = await browser.newContext({
        viewport: {width, height},
        colorScheme: values.dark ? 'dark' : 'light',
        reducedMotion: 'reduce',
    });
    const tab = await context.newPage();
    await tab.goto(`${pathToFileURL(path.resolve(page)).href}#quality=${values.plain ? 'plain' : 'high'}`);
    await tab.evaluate(() => window.replay.ready);
    const found = await tab.evaluate(
        async ({at, name, helpers, vehicle}) => {
            const {replay} = window;
            replay.setVehicle(vehicle);
            replay.set('helpers', helpers);
            replay.seek(at);
            if (!replay.setCamera(name)) return replay.cameras();
            await replay.drawn();
            return null;
        },
        {at: Number(frame), name: camera, helpers: values.helpers, vehicle: Number(values.vehicle)},
    );
    if (found) throw new Error(`no camera ${camera}; there are ${found.join(', ')}`);
    await tab.screenshot({path: output});
} catch (error) {
    process.stderr.write(`shot: ${error.message}\n`);
    process.exitCode = 1;
} finally {
    await browser.close();
}
