// A book in the list: what is shown of it, and what can be done with it.
import {say, tag} from './texts.js';
import {addressOf} from './server.js';

const tones = 6;
const longest = 200; // chapters shown of a book

// What can be done in which state. Where "Cancel" was, nothing comes that a second press would do harm by.
const doings = {
  uploading: ['cancel'],
  waiting: ['cancel', 'edit'],
  converting: ['cancel'],
  done: ['read', 'download', 'edit', 'forget'],
  failed: ['edit', 'forget'],
  cancelled: ['edit', 'forget'],
  refused: ['forget'],
};

export const nameOf = book => book.title || book.options?.title || book.name;

function toneOf(id) {
  let sum = 0;
  for (const letter of id) sum = (sum * 31 + letter.codePointAt(0)) % 9973;
  return sum % tones;
}

function initialOf(title) {
  return (title.match(/[\p{L}\p{N}]/u)?.[0] ?? '·').toLocaleUpperCase();
}

function languageName(code) {
  try {
    return new Intl.DisplayNames(tag, {type: 'language'}).of(code);
  } catch {
    return code;
  }
}

function sizeOf(bytes) {
  const [unit, size] = bytes < 1e6 ? ['kilobyte', bytes / 1e3] : ['megabyte', bytes / 1e6];
  return new Intl.NumberFormat(tag, {style: 'unit', unit, maximumFractionDigits: size < 10 ? 1 : 0})
      .format(size).replace(' ', '\u00a0');
}

function authorsOf(book) {
  const author = book.author || book.options?.author || book.authors;
  return author?.length > 0 ? say('by', {author: [author].flat().join(', ')}) : '';
}

function factsOf(book) {
  return [
    authorsOf(book),
    book.kind && (say(`kind.${book.kind}`) ?? book.kind),
    book.language && languageName(book.language),
    book.size && sizeOf(book.size),
    book.files && say('filesBrought', {n: book.files}),
  ].filter(Boolean).join(' · ');
}

function timeLeft(seconds) {
  if (seconds === null || seconds === undefined) return '';
  const n = Math.max(Math.ceil(seconds), 1);
  return n < 90 ? say('secondsLeft', {n}) : say('minutesLeft', {n: Math.ceil(n / 60)});
}

export function stateInWords(book) {
  if (book.state === 'waiting' && book.position) return say('waitingBehind', {n: book.position});
  return say(`state.${book.state}`);
}

function stateWithProgress(book) {
  const words = stateInWords(book);
  if (book.state !== 'converting' && book.state !== 'uploading') return words;
  const percent = say('percent', {n: Math.floor((book.progress ?? 0) * 100)});
  return [words, percent, timeLeft(book.secondsLeft)].filter(Boolean).join(' · ');
}

function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

function item(text, properties = {}) {
  return Object.assign(document.createElement('li'), {textContent: text, ...properties});
}

export class Row {
  // onDo(doing, book) is called with one of the doings.
  constructor(book, onDo) {
    this.onDo = onDo;
    this.element = document.getElementById('book').content.firstElementChild.cloneNode(true);
    this.element.querySelector('.cover').dataset.tone = toneOf(book.id);
    this.show(book);
  }

  part(selector) {
    return this.element.querySelector(selector);
  }

  show(book) {
    const before = this.book;
    this.book = book;
    const title = nameOf(book);
    this.element.dataset.state = book.state;
    this.element.dataset.id = book.id;
    setText(this.part('h3'), title);
    this.part('h3').lang = book.language ?? '';
    setText(this.part('.cover'), initialOf(title));
    setText(this.part('.facts'), factsOf(book));
    setText(this.part('.state'), stateWithProgress(book));
    this.showProgress(title);
    this.showWhy();
    if (before?.state !== book.state || before?.warnings?.length !== book.warnings?.length) this.listRemarks();
    if (before?.state !== book.state || before?.chapters?.length !== book.chapters?.length) this.listChapters();
    if (before?.state !== book.state || nameOf(before) !== title) this.showDoings(title);
  }

  showProgress(title) {
    const progress = this.part('progress');
    progress.hidden = this.book.state !== 'converting' && this.book.state !== 'uploading';
    progress.value = this.book.progress ?? 0;
    progress.setAttribute('aria-label', say('progressOf', {title}));
  }

  showWhy() {
    const why = this.part('.why');
    const {error} = this.book;
    why.hidden = !error;
    if (!error) return;
    const words = document.createElement('span');
    words.textContent = error.message;
    words.lang = error.cause ? 'en' : tag;
    why.replaceChildren(...[say(`cause.${error.cause}`), words].filter(Boolean));
  }

  listRemarks() {
    const {warnings = []} = this.book;
    const box = this.part('.remarks');
    box.hidden = warnings.length === 0;
    setText(box.querySelector('summary'), say('remarks', {n: warnings.length}));
    box.querySelector('ul').replaceChildren(...warnings.map(({message, place}) =>
      item(place ? `${message} (${place})` : message, {lang: 'en'})));
  }

  listChapters() {
    const {chapters = []} = this.book;
    const box = this.part('.chapters');
    box.hidden = chapters.length === 0;
    setText(box.querySelector('summary'), say('chapters', {n: chapters.length}));
    const shown = chapters.slice(0, longest).map(({title, level}) => {
      const entry = item(title, {lang: this.book.language ?? ''});
      entry.dataset.level = Math.min(level, 4);
      return entry;
    });
    if (chapters.length > longest) shown.push(item('…'));
    box.querySelector('ol').replaceChildren(...shown);
  }

  // What can still be done stays where the pointer and the focus are. The focus of what is no more goes
  // to what comes first.
  showDoings(title) {
    const box = this.part('.doings');
    const hadFocus = box.contains(document.activeElement);
    const wanted = doings[this.book.state].filter(doing => doing !== 'read' || Row.canRead);
    for (const element of [...box.children]) {
      if (!wanted.includes(element.dataset.doing)) element.remove();
    }
    wanted.forEach((doing, i) => {
      const found = box.querySelector(`[data-doing=${doing}]`);
      const element = found ?? this.makeDoing(doing);
      if (!found) box.insertBefore(element, box.children[i] ?? null);
      element.setAttribute('aria-label', say('of', {action: say(doing), title}));
    });
    if (hadFocus && !box.contains(document.activeElement)) box.firstElementChild.focus();
  }

  makeDoing(doing) {
    const isLink = doing === 'download';
    const element = document.createElement(isLink ? 'a' : 'button');
    element.className = doing === 'read' ? 'button main' : 'button';
    element.dataset.doing = doing;
    element.textContent = say(doing);
    if (isLink) Object.assign(element, {href: addressOf(this.book.id), download: ''});
    else element.addEventListener('click', () => this.onDo(doing, this.book));
    return element;
  }
}
