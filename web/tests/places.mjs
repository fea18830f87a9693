// Where the tests find what they test.
import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { fileURLToPath, pathToFileURL } from 'node:url';

const pathOf = (name) => fileURLToPath(new URL(`../../${name}`, import.meta.url));

export const kPackage = pathOf('build/web/package');
export const kPage = pathOf('build/web/tlux.html');
export const kPageUrl = pathToFileURL(kPage).href;
export const kScreenshots = pathOf('build/web/screenshots');
export const kPhoto = pathOf('examples/images/night-bridge-lamps.jpg');
export const kTypescript = pathOf('web/node_modules/typescript/bin/tsc');
export const kAxe = pathOf('web/node_modules/axe-core/axe.min.js');

/** The command, which results are compared with: built by scripts/demo.sh or scripts/test.sh. */
const kCommand = process.env.TLUX_COMMAND ?? pathOf('build/release/apps/tlux');
export const withoutCommand =
  existsSync(kCommand) || process.env.CI ? false : `${kCommand} is not built: run scripts/demo.sh`;

export function runCommand(...args) {
  return execFileSync(kCommand, args, { stdio: ['ignore', 'pipe', 'inherit'] });
}
