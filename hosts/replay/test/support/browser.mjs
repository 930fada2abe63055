// A headless Chromium for pages with 3D in them, on a machine without a graphics card as well.

import {existsSync} from 'node:fs';
import {chromium} from 'playwright-core';

export const CHROMIUM = process.env.CHROMIUM || '/usr/bin/chromium';

export const hasChromium = existsSync(CHROMIUM);

export function launch() {
    return chromium.launch({
        executablePath: CHROMIUM,
        args: ['--no-sandbox', '--disable-gpu', '--enable-unsafe-swiftshader', '--use-angle=swiftshader'],
    });
}
