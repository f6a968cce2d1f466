// The page: brings files, shows what becomes of them, and does what the user asks for.
import {filesChosen, filesDropped} from './dropped.js';
import {offer, optionsOf, showOptions} from './options.js';
import {forgetPlace, read} from './reading.js';
import {nameOf, Row, stateInWords} from './row.js';
import * as server from './server.js';
import {say, tag, translate} from './texts.js';

const part = id => document.getElementById(id);
const rows = new Map(); // by the ids of books, in their order
const ended = ['done', 'failed', 'cancelled', 'refused'];
let uploads = 0;

// ------------------------------------------------------------------------------------- telling

function tell(words) {
  part('said').textContent = words;
}

function complain(words, element = part('trouble')) {
  element.textContent = words;
  element.hidden = !words;
}

// Does what the server may refuse.
async function attempt(doing, element) {
  try {
    const result = await doing();
    complain('', element);
    return result;
  } catch (error) {
    if (!(error instanceof server.Refusal)) throw error;
    complain(error.message, element);
    if (error.code === 'login-needed') askForPassword();
    return null;
  }
}

// --------------------------------------------------------------------------------------- books

function showCount() {
  part('count').textContent = rows.size > 0 ? say('books', {n: rows.size}) : say('noBooks');
  const states = [...rows.values()].map(row => row.book.state);
  part('download-all').hidden = states.filter(state => state === 'done').length < 2;
  part('forget-all').hidden = states.length < 2;
}

function showBook(book) {
  const row = rows.get(book.id);
  const before = row?.book.state;
  if (row) {
    row.show(book);
  } else {
    rows.set(book.id, new Row(book, act));
    part('books').prepend(rows.get(book.id).element);
  }
  if (before && before !== book.state && ended.includes(book.state)) {
    tell(say('said', {title: nameOf(book), state: stateInWords(book)}));
  }
  showCount();
}

// What is told of a book by an answer may be older than what was heard of it while that came: each
// request has a set of the books that were heard of meanwhile.
const pending = new Set();

function expectAnswer() {
  const heard = new Set();
  pending.add(heard);
  return {
    show(books) {
      pending.delete(heard);
      for (const book of books) if (!heard.has(book.id)) showBook(book);
    },
    giveUp: () => pending.delete(heard),
  };
}

async function showAnswer(request) {
  const answer = expectAnswer();
  try {
    answer.show([await request()]);
  } finally {
    answer.giveUp();
  }
}

function hear(id) {
  for (const heard of pending) heard.add(id);
}

// The focus of what goes is taken by what comes next.
function dropRow(id) {
  const row = rows.get(id);
  if (!row) return;
  const hadFocus = row.element.contains(document.activeElement);
  const next = row.element.nextElementSibling ?? row.element.previousElementSibling;
  row.element.remove();
  rows.delete(id);
  showCount();
  if (hadFocus) (next?.querySelector('.doings > *') ?? part('choose-files')).focus();
}

// Of uploads the server knows nothing yet, or nothing at all.
function isLocal(book) {
  return book.state === 'uploading' || book.state === 'refused';
}

async function listBooks() {
  const answer = expectAnswer();
  const books = await attempt(server.books);
  if (!books) return answer.giveUp();
  const known = new Set(books.map(book => book.id));
  for (const [id, row] of rows) if (!known.has(id) && !isLocal(row.book)) dropRow(id);
  return answer.show(books);
}

const acts = {
  read: book => attempt(() => read(book.id, nameOf(book))),
  cancel: book => attempt(() => showAnswer(() => server.cancel(book.id))),
  edit: book => edit(book),
  forget: book => attempt(async () => {
    await server.forget(book.id);
    forgetPlace(book.id);
    dropRow(book.id);
  }),
};

function act(doing, book) {
  if (!isLocal(book)) return acts[doing](book);
  book.request?.abort();
  return dropRow(book.id);
}

// ------------------------------------------------------------------------------------- bringing

function bring(files) {
  if (files.length === 0) return;
  const upload = {id: `upload-${++uploads}`, name: files[0].path.split('/')[0], state: 'uploading',
                  progress: 0, files: files.length > 1 ? files.length : null};
  const answer = expectAnswer();
  showBook(upload);
  upload.request = server.bring(files, optionsOf(part('before').querySelector('form')), {
    onProgress(progress) {
      showBook({...upload, progress});
    },
    onDone(books) {
      dropRow(upload.id);
      answer.show(books);
      complain('');
    },
    onEnd: answer.giveUp,
    onRefused(refusal) {
      showBook({...upload, state: 'refused', error: {message: refusal.message}});
      if (refusal.code === 'login-needed') askForPassword();
    },
  });
}

function listenForFiles() {
  const drop = part('drop');
  let depth = 0; // of elements that the pointer entered
  const hover = step => {
    depth += step;
    drop.classList.toggle('hovered', depth > 0);
  };
  document.addEventListener('dragenter', () => hover(1));
  document.addEventListener('dragleave', () => hover(-1));
  document.addEventListener('dragover', event => event.preventDefault());
  document.addEventListener('drop', async event => {
    event.preventDefault();
    hover(-depth);
    const files = filesDropped(event.dataTransfer);
    bring(await files.catch(() => complain(say('error.unreadable'))) ?? []);
  });
  for (const [button, input] of [['choose-files', 'files'], ['choose-folder', 'folder']]) {
    part(button).addEventListener('click', () => part(input).click());
    part(input).addEventListener('change', () => {
      bring(filesChosen(part(input)));
      part(input).value = '';
    });
  }
}

// ------------------------------------------------------------------------------------- dialogs

let edited = null;

function edit(book) {
  edited = book;
  complain('', part('edit').querySelector('.trouble'));
  showOptions(part('edit').querySelector('form'), book);
  part('edit').showModal();
}

function listenToDialogs() {
  for (const dialog of [part('edit'), part('sure')]) {
    dialog.querySelector('.close').addEventListener('click', () => dialog.close());
  }
  const form = part('edit').querySelector('form');
  form.addEventListener('submit', event => {
    event.preventDefault(); // the dialog stays when the server refuses
    attempt(async () => {
      if (edited.state === 'waiting') await server.cancel(edited.id);
      await showAnswer(() => server.convert(edited.id, optionsOf(form)));
      part('edit').close();
    }, form.querySelector('.trouble'));
  });
  part('forget-all').addEventListener('click', () => part('sure').showModal());
  part('sure').querySelector('form').addEventListener('submit', () => attempt(async () => {
    await server.forgetAll();
    for (const id of [...rows.keys()]) {
      forgetPlace(id);
      dropRow(id);
    }
    part('choose-files').focus();
  }));
}

// --------------------------------------------------------------------------------------- begin

function askForPassword() {
  part('room').hidden = true;
  part('logout').hidden = true;
  part('login').hidden = false;
  part('password').focus();
}

let isListening = false;

async function enter(status) {
  part('login').hidden = true;
  part('room').hidden = false;
  part('logout').hidden = status.login !== 'done';
  Row.canRead = status.reader;
  for (const fields of document.querySelectorAll('.fields')) offer(fields, status.options);
  part('kept').textContent = status.keepHours ? say('keptHours', {n: status.keepHours}) : '';
  part('version').textContent = status.version;
  await listBooks();
  showCount();
  if (isListening) return;
  isListening = true;
  server.listen({
    onOpen: listBooks,
    onBook(book) {
      hear(book.id);
      showBook(book);
    },
    onGone(id) {
      hear(id);
      dropRow(id);
    },
    onLost: () => complain(say('error.connection')),
  });
}

async function begin() {
  const status = await attempt(server.status);
  if (!status) return;
  if (status.login === 'needed') askForPassword();
  else await enter(status);
}

document.documentElement.lang = tag;
translate(document);
listenForFiles();
listenToDialogs();
part('login').addEventListener('submit', event => {
  event.preventDefault();
  attempt(async () => {
    await server.login(part('password').value);
    part('password').value = '';
    await begin();
    part('choose-files').focus();
  });
});
part('logout').addEventListener('click', () => attempt(async () => {
  await server.logout();
  location.reload();
}));
begin();
