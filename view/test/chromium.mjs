// The browser of the tests; where there is none the test is skipped.

import { existsSync } from 'node:fs';
import { chromium } from 'playwright-core';

const executablePath = ['/usr/bin/chromium', '/usr/bin/chromium-browser'].find(existsSync);
if (!executablePath) {
  console.log('there is no chromium');
  process.exit(77);
}

const args = ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];

export const launch = () => chromium.launch({ executablePath, args });
