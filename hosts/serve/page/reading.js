// Opens a book on the page: in a frame that may run its own scripts and load nothing; the book goes to
// it as a message.
import * as server from './server.js';
import {say} from './texts.js';

const dialog = document.getElementById('reading');

function makeFrame(title) {
  const frame = document.createElement('iframe');
  // The engine looks into the frames that it makes of chapters, in which no script runs; for this it
  // must be of an origin that is not only its own.
  frame.sandbox = 'allow-scripts allow-same-origin';
  frame.src = 'reader/';
  frame.title = say('reading', {title});
  return frame;
}

function answerOf(frame, type) {
  return new Promise(resolve => {
    const hear = event => {
      if (event.source !== frame.contentWindow || event.data?.type !== type) return;
      removeEventListener('message', hear);
      resolve();
    };
    addEventListener('message', hear);
  });
}

export async function read(id, title) {
  const bytes = await server.bytesOf(id);
  const frame = makeFrame(title);
  dialog.setAttribute('aria-label', say('reading', {title}));
  dialog.replaceChildren(frame);
  answerOf(frame, 'close').then(() => dialog.close());
  const ready = answerOf(frame, 'ready');
  dialog.showModal();
  await ready;
  frame.focus();
  frame.contentWindow.postMessage({type: 'open', id, title, bytes}, location.origin, [bytes]);
}

export function forgetPlace(id) {
  try {
    localStorage.removeItem(`kavepub.place.${id}`);
  } catch {
    // There is no place where nothing is kept.
  }
}

dialog.addEventListener('close', () => dialog.replaceChildren());
