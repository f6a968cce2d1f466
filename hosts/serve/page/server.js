// Talks to the server.
import {say} from './texts.js';

// What the server refused, in words for people.
export class Refusal extends Error {
  constructor(code, message) {
    super(message);
    this.code = code;
  }
}

const limits = {};

function sizeInWords(bytes) {
  return new Intl.NumberFormat(document.documentElement.lang, {
    style: 'unit', unit: 'megabyte', maximumFractionDigits: bytes < 1e7 ? 1 : 0,
  }).format(bytes / 1e6);
}

function refusalOf(status, text) {
  let error = {};
  try {
    ({error} = JSON.parse(text));
  } catch {
    // Something between here and the server answered.
  }
  const code = error?.code ?? String(status);
  const most = limits.upload ? sizeInWords(limits.upload) : '';
  return new Refusal(code, say(`error.${code}`, {most}) ?? error?.message ?? String(status));
}

function unreachable() {
  return new Refusal('connection', say('error.connection'));
}

async function ask(method, path, body) {
  const isForm = body instanceof FormData;
  const headers = body && !isForm ? {'Content-Type': 'application/json'} : {};
  const sent = isForm || !body ? body : JSON.stringify(body);
  const answer = await fetch(path, {method, headers, body: sent}).catch(() => {
    throw unreachable();
  });
  const text = await answer.text();
  if (!answer.ok) throw refusalOf(answer.status, text);
  return text ? JSON.parse(text) : null;
}

export async function status() {
  const told = await ask('GET', 'status');
  Object.assign(limits, told.limits);
  return told;
}

export const login = password => ask('POST', 'session', {password});
export const logout = () => ask('DELETE', 'session');
export const books = async () => (await ask('GET', 'books')).books;
export const cancel = id => ask('POST', `books/${id}/cancel`);
export const forget = id => ask('DELETE', `books/${id}`);
export const forgetAll = () => ask('DELETE', 'books');
export const addressOf = id => `books/${id}/book.epub`;

export async function bytesOf(id) {
  const answer = await fetch(addressOf(id)).catch(() => {
    throw unreachable();
  });
  if (!answer.ok) throw refusalOf(answer.status, await answer.text());
  return answer.arrayBuffer();
}

function formOf({values, cover}) {
  const form = new FormData();
  for (const [name, value] of values) form.append(name, value);
  if (cover) form.append('cover', cover, cover.name);
  return form;
}

// Makes a book again; options are those of optionsOf().
export function convert(id, options) {
  if (options.cover) return ask('POST', `books/${id}/convert`, formOf(options));
  const named = {};
  for (const [name, value] of options.values) {
    named[name] = name in named ? [named[name], value].flat() : value;
  }
  return ask('POST', `books/${id}/convert`, {options: named});
}

// Brings files, each {path, file}, and tells how much has been sent. Only this kind of request tells
// it; abort() on what is returned ends it, unless it is null, for what is too large.
export function bring(files, options, {onProgress, onDone, onRefused, onEnd}) {
  const size = files.reduce((sum, {file}) => sum + file.size, 0);
  if (size > limits.upload) { // the server would only cut it off
    onEnd();
    onRefused(refusalOf(413, '{"error": {"code": "too-large"}}'));
    return null;
  }
  const form = formOf(options); // options before files, as the server reads them in order
  for (const {path, file} of files) form.append('file', file, path);
  const request = new XMLHttpRequest();
  request.open('POST', 'books');
  request.upload.addEventListener('progress', ({loaded, total}) => onProgress(loaded / total));
  request.addEventListener('load', () => {
    if (request.status === 201) onDone(JSON.parse(request.responseText).books);
    else onRefused(refusalOf(request.status, request.responseText));
  });
  request.addEventListener('error', () => onRefused(unreachable()));
  request.addEventListener('loadend', onEnd);
  request.send(form);
  return request;
}

const secondsToRetry = 3;

// Hears of all books as long as the page is looked at: a page in the background needs no connection,
// of which browsers have few.
export function listen({onOpen, onBook, onGone, onLost}) {
  let source = null;
  function connect() {
    if (source || document.hidden) return;
    source = new EventSource('events');
    source.addEventListener('open', onOpen);
    source.addEventListener('book', event => onBook(JSON.parse(event.data)));
    source.addEventListener('gone', event => onGone(JSON.parse(event.data).id));
    source.addEventListener('error', () => {
      onLost();
      if (source?.readyState !== EventSource.CLOSED) return; // tries again by itself
      stop();
      setTimeout(connect, secondsToRetry * 1000);
    });
  }
  function stop() {
    source?.close();
    source = null;
  }
  document.addEventListener('visibilitychange', () => (document.hidden ? stop() : connect()));
  addEventListener('pagehide', stop);
  connect();
}
