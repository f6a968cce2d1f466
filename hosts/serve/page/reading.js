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

let waiting = null; // what the frame gets when it is ready

export async function read(id, title) {
  const bytes = await server.bytesOf(id);
  waiting = {type: 'open', id, title, bytes};
  dialog.setAttribute('aria-label', say('reading', {title}));
  dialog.replaceChildren(makeFrame(title));
  if (!dialog.open) dialog.showModal();
}

function open(frame) {
  frame.focus();
  frame.contentWindow.postMessage(waiting, location.origin, [waiting.bytes]);
  waiting = null;
}

addEventListener('message', ({source, data}) => {
  const frame = dialog.querySelector('iframe');
  if (!frame || source !== frame.contentWindow) return;
  if (data.type === 'ready' && waiting) open(frame);
  if (data.type === 'close') dialog.close();
});

export function forgetPlace(id) {
  try {
    localStorage.removeItem(`kavepub.place.${id}`);
  } catch {
    // There is no place where nothing is kept.
  }
}

dialog.addEventListener('close', () => dialog.replaceChildren());
