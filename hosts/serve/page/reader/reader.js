// Shows the book that the page hands over, by an engine of others, in a frame that loads nothing.
import {say, tag, translate} from '../texts.js';

const sizes = [80, 90, 100, 115, 130, 150, 175, 200];
const swipe = 40; // pixels
const night = {color: '#d8d2c6', background: '#1b1a18', link: '#e0a78c'};

const part = id => document.getElementById(id);

// What is remembered, as far as the browser lets it.
const memory = {
  get(key) {
    try {
      return localStorage.getItem(`kavepub.${key}`);
    } catch {
      return null;
    }
  },
  set(key, value) {
    try {
      localStorage.setItem(`kavepub.${key}`, value);
    } catch {
      // A browser that keeps nothing shows books from their beginning.
    }
  },
};

const state = {
  size: Number(memory.get('size') ?? 100),
  night: memory.get('night') === null ? matchMedia('(prefers-color-scheme: dark)').matches
                                      : memory.get('night') === 'yes',
};

function close() {
  parent.postMessage({type: 'close'}, location.origin);
}

// Colours of books are made for paper, so at night they have none.
function nightRules() {
  return {
    'body.night, body.night *:not(img):not(svg):not(svg *)': {
      'color': `${night.color} !important`,
      'background-color': 'transparent !important',
      'border-color': 'currentColor !important',
    },
    'body.night a[href]': {'color': `${night.link} !important`},
  };
}

// Chapters cannot run or load anything, but browsers connect to where a frame is to come from before
// they refuse it, and the engine would look for the chapter of a link that is a script.
function leaveOut(chapter) {
  for (const element of chapter.querySelectorAll('script, iframe, frame, object, embed')) element.remove();
  for (const link of chapter.querySelectorAll('[href]')) {
    if (/^\s*(javascript|data|vbscript):/i.test(link.getAttribute('href'))) link.removeAttribute('href');
  }
}

class Reader {
  constructor({id, title, bytes}) {
    this.key = `place.${id}`;
    part('title').textContent = title;
    document.title = say('reading', {title});
    this.title = title;
    this.book = ePub(bytes);
    this.book.spine.hooks.content.register(leaveOut);
    this.rendition = this.book.renderTo(part('book'), {
      width: '100%', height: '100%', flow: 'paginated', minSpreadWidth: 900,
    });
    this.rendition.themes.registerRules('day', {});
    this.rendition.themes.registerRules('night', nightRules());
    this.rendition.on('relocated', place => this.showPlace(place));
    new MutationObserver(() => this.nameFrames()).observe(part('book'), {childList: true, subtree: true});
    this.rendition.on('keydown', event => this.press(event));
    this.listenForSwipes();
  }

  async open() {
    this.wear();
    const {toc} = await this.book.loaded.navigation;
    await this.book.ready;
    this.listChapters(toc);
    const place = memory.get(this.key);
    try {
      await this.rendition.display(place ?? undefined);
    } catch (error) {
      if (place === null) throw error;
      await this.rendition.display(); // the book was made again, and is another one
    }
  }

  nameFrames() {
    for (const frame of part('book').querySelectorAll('iframe')) {
      frame.title = say('pagesOf', {title: this.title});
    }
  }

  listChapters(items, level = 1) {
    for (const item of items) {
      const button = document.createElement('button');
      button.textContent = item.label.trim();
      button.dataset.level = Math.min(level, 4);
      button.addEventListener('click', () => this.go(item));
      const entry = document.createElement('li');
      entry.append(button);
      part('chapters').querySelector('ol').append(entry);
      const section = this.book.spine.get(item.href.split('#')[0]);
      this.chapters.push({button, label: button.textContent, index: section?.index ?? 0});
      this.listChapters(item.subitems ?? [], level + 1);
    }
  }

  chapters = [];

  go(item) {
    showContents(false);
    this.rendition.display(item.href);
    part('contents').focus();
  }

  showPlace({start}) {
    memory.set(this.key, start.cfi);
    part('book').dataset.page = `${start.index}:${start.displayed.page}`;
    const chapter = this.chapters.findLast(({index}) => index <= start.index);
    const page = say('chapterPage', {n: start.displayed.page, of: start.displayed.total});
    part('chapter').textContent = chapter?.label ?? '';
    part('page').textContent = page;
    for (const {button} of this.chapters) button.removeAttribute('aria-current');
    chapter?.button.setAttribute('aria-current', 'true');
  }

  wear() {
    this.rendition.themes.select(state.night ? 'night' : 'day');
    this.rendition.themes.fontSize(`${state.size}%`);
    document.documentElement.dataset.theme = state.night ? 'night' : 'day';
    part('night').setAttribute('aria-pressed', state.night);
    part('smaller').disabled = state.size <= sizes[0];
    part('larger').disabled = state.size >= sizes.at(-1);
    memory.set('size', state.size);
    memory.set('night', state.night ? 'yes' : 'no');
  }

  resize(step) {
    const wanted = sizes.indexOf(state.size) + step;
    state.size = sizes[Math.min(Math.max(wanted, 0), sizes.length - 1)];
    this.wear();
  }

  turn(step) {
    return step > 0 ? this.rendition.next() : this.rendition.prev();
  }

  press(event) {
    const press = keys[event.key];
    if (!press || event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === ' ' && event.target.closest?.('button')) return;
    event.preventDefault();
    press(this, event);
  }

  listenForSwipes() {
    let begin = null;
    this.rendition.on('touchstart', event => {
      begin = event.changedTouches[0].screenX;
    });
    this.rendition.on('touchend', event => {
      const way = begin === null ? 0 : event.changedTouches[0].screenX - begin;
      if (Math.abs(way) > swipe) this.turn(way < 0 ? 1 : -1);
      begin = null;
    });
  }
}

const keys = {
  ArrowRight: reader => reader.turn(1),
  PageDown: reader => reader.turn(1),
  ArrowLeft: reader => reader.turn(-1),
  PageUp: reader => reader.turn(-1),
  ' ': (reader, event) => reader.turn(event.shiftKey ? -1 : 1),
  '+': reader => reader.resize(1),
  '-': reader => reader.resize(-1),
  Escape: () => (part('chapters').hidden ? close() : showContents(false)),
};

function showContents(shown) {
  part('chapters').hidden = !shown;
  part('contents').setAttribute('aria-expanded', shown);
  const current = part('chapters').querySelector('[aria-current]') ??
                  part('chapters').querySelector('button');
  if (shown) {
    current?.focus();
    current?.scrollIntoView({block: 'center'});
  }
}

function connect(reader) {
  part('contents').addEventListener('click', () => showContents(part('chapters').hidden));
  part('smaller').addEventListener('click', () => reader.resize(-1));
  part('larger').addEventListener('click', () => reader.resize(1));
  part('night').addEventListener('click', () => {
    state.night = !state.night;
    reader.wear();
  });
  part('next').addEventListener('click', () => reader.turn(1));
  part('previous').addEventListener('click', () => reader.turn(-1));
  document.addEventListener('keydown', event => reader.press(event));
}

async function open(message) {
  const reader = new Reader(message);
  connect(reader);
  try {
    await reader.open();
    part('words').hidden = true;
    part('contents').focus();
  } catch (error) {
    console.error(error);
    part('words').textContent = say('unreadable');
  }
  part('book').setAttribute('aria-busy', false);
}

document.documentElement.lang = tag;
translate(document);
part('close').addEventListener('click', close);
addEventListener('message', event => {
  if (event.source === parent && event.origin === location.origin) open(event.data);
}, {once: true});
parent.postMessage({type: 'ready'}, location.origin);
