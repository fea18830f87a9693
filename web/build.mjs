// Makes the package and the page of the module: build/web/package and build/web/tlux.html.
import { copyFile, mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { execFileSync } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import esbuild from 'esbuild';

const pathOf = (name) => fileURLToPath(new URL(name, import.meta.url));
const kModule = pathOf('../build/wasm/web/module/tlux.wasm');
const kPackage = pathOf('../build/web/package');
const kPage = pathOf('../build/web/tlux.html');
const kExamples = {
  'example-bridge': pathOf('../examples/images/night-bridge-lamps.jpg'),
  'example-cyclists': pathOf('../examples/images/cyclists-backlit-foliage.jpg'),
};

function compile(project) {
  execFileSync(process.execPath, [pathOf('node_modules/typescript/bin/tsc'), '-p', pathOf(project)], {
    stdio: 'inherit',
  });
}

async function makePackage() {
  await rm(kPackage, { recursive: true, force: true });
  compile('package');
  await copyFile(kModule, `${kPackage}/tlux.wasm`);
  await copyFile(pathOf('package/README.md'), `${kPackage}/README.md`);
  const { name, devDependencies: _, ...rest } = JSON.parse(await readFile(pathOf('package.json'), 'utf8'));
  const [, version] = (await readFile(pathOf('../CMakeLists.txt'), 'utf8')).match(/^ {2}VERSION ([0-9.]+)$/m);
  const manifest = { name, version, ...rest };
  await writeFile(`${kPackage}/package.json`, `${JSON.stringify(manifest, null, 2)}\n`);
}

/** Gives the bundler a file that is made on the way. */
function provide(name, loader, contentsOf) {
  return {
    name,
    setup(build) {
      build.onResolve({ filter: new RegExp(`^${name}$`) }, () => ({ path: name, namespace: name }));
      build.onLoad({ filter: /.*/, namespace: name }, async () => ({
        contents: await contentsOf(),
        loader,
      }));
    },
  };
}

async function bundle(entry, plugins) {
  const { outputFiles } = await esbuild.build({
    entryPoints: [pathOf(entry)],
    bundle: true,
    write: false,
    minify: true,
    format: 'iife',
    target: ['chrome110', 'firefox115', 'safari16.4'],
    external: ['node:fs/promises'],
    define: { 'import.meta.url': '""' },
    plugins,
  });
  return outputFiles[0].text;
}

async function makePage() {
  compile('page');
  const compressed = async () => gzipSync(await readFile(kModule), { level: 9 });
  const worker = await bundle('page/worker.ts', [provide('tlux.wasm', 'binary', compressed)]);
  const script = await bundle('page/main.ts', [provide('worker-source', 'text', () => worker)]);
  const { code: style } = await esbuild.transform(await readFile(pathOf('page/style.css'), 'utf8'), {
    loader: 'css',
    minify: true,
  });
  const parts = { style, script: script.replaceAll('</script', '<\\/script') };
  for (const [name, file] of Object.entries(kExamples)) {
    parts[name] = `data:image/jpeg;base64,${(await readFile(file)).toString('base64')}`;
  }
  const template = await readFile(pathOf('page/index.html'), 'utf8');
  const page = template.replace(/\/\*([a-z-]+)\*\//g, (_, name) => parts[name]);
  await writeFile(kPage, page);
  console.log(`${kPage}: ${Math.round(page.length / 1024)} KiB`);
}

await mkdir(pathOf('../build/web'), { recursive: true });
await makePackage();
await makePage();
