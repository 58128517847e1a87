// Opens JT files that are dropped on the page: the reader runs in a worker of its own, and nothing leaves the
// browser.

/** What a file becomes: data as a page holds them, or the error that `jtw view` prints. */
export interface Reading {
  page?: string;
  warnings?: string[];
  error?: string;
  /** Milliseconds that the reader took. */
  time?: number;
}

/** Reads the first of these files; the others are its part files. */
export async function readFiles(files: readonly File[]): Promise<Reading> {
  const contents = await Promise.all(files.map(async (file) => ({ name: file.name, bytes: await file.arrayBuffer() })));
  // A new one for each: its memory goes with it.
  const worker = new Worker('worker.js');
  try {
    return await new Promise<Reading>((done, fail) => {
      worker.onmessage = ({ data }: MessageEvent<Reading>) => done(data);
      worker.onerror = ({ message }) => fail(new Error(message || 'the reader cannot be started'));
      worker.postMessage(contents, contents.map(({ bytes }) => bytes));
    });
  } finally {
    worker.terminate();
  }
}

/** Calls `open` with files that are dropped anywhere on the page. */
export function acceptFiles(open: (files: File[]) => void): void {
  document.addEventListener('dragover', (event) => event.preventDefault());
  document.addEventListener('drop', (event) => {
    event.preventDefault();
    open([...(event.dataTransfer?.files ?? [])]);
  });
}
