// The worker that reads files: `jtw view` itself, compiled to WebAssembly, with files in memory.

import type { Reading } from './open.js';

interface Reader {
  FS: {
    mkdir(path: string): void;
    chdir(path: string): void;
    symlink(target: string, path: string): void;
    writeFile(path: string, content: Uint8Array | string): void;
    readFile(path: string, options: { encoding: 'utf8' }): string;
  };
  callMain(words: string[]): number;
}
declare const createReader: (options: object) => Promise<Reader>;
declare const importScripts: (script: string) => void;

async function read(files: { name: string; bytes: ArrayBuffer }[]): Promise<Reading> {
  const results: string[] = [];
  const messages: string[] = [];
  const { FS, callMain } = await createReader({
    print: (line: string) => results.push(line),
    printErr: (line: string) => messages.push(line),
  });
  // The page that it fills is nothing but data, and lies where the program looks for it.
  FS.mkdir('/program');
  FS.symlink('/program/jtw', '/proc/self/exe');
  FS.writeFile('/program/jtw-view.html', '<!--jtw-page-data-->');
  FS.mkdir('/files');
  FS.chdir('/files');
  for (const { name, bytes } of files) FS.writeFile(name, new Uint8Array(bytes));
  const start = performance.now();
  callMain(['view', '--json', '--color', 'never', '--jobs', '1', '-o', '/program/out.html', '--', files[0].name]);
  const time = performance.now() - start;
  const mark = 'jtw: error: ';
  const error = messages.find((line) => line.startsWith(mark))?.slice(mark.length);
  if (error !== undefined) return { error, time };
  const { warnings } = JSON.parse(results.join('\n')) as { warnings: { message: string }[] };
  return {
    page: FS.readFile('/program/out.html', { encoding: 'utf8' }),
    warnings: warnings.map(({ message }) => message),
    time,
  };
}

importScripts('reader.js');
onmessage = async ({ data }) => {
  try {
    postMessage(await read(data));
  } catch (error) {
    postMessage({ error: `the reader broke down: ${error instanceof Error ? error.message : error}` });
  }
};
