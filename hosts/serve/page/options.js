// The form of what can be said about a book, and what was said there.
import {say} from './texts.js';

// These stand first and always; what else the program offers follows under "More".
const first = ['title', 'author', 'language', 'cover', 'chapters'];
const words = ['auto', 'none', 'line', 'wrapped', 'strict', 'replace', 'yes', 'no'];
let serial = 0;

function make(name, properties = {}, ...children) {
  const element = Object.assign(document.createElement(name), properties);
  element.append(...children);
  return element;
}

function labelled(text, field, hint) {
  field.id = `field-${++serial}`;
  const parts = [make('label', {htmlFor: field.id, textContent: text}), field];
  if (hint) {
    const note = make('small', {id: `${field.id}-hint`, textContent: hint});
    field.setAttribute('aria-describedby', note.id);
    parts.push(note);
  }
  return make('p', {className: 'field'}, ...parts);
}

function choiceOf(name, values) {
  const choice = make('select', {name});
  for (const value of new Set(['auto', ...values])) {
    choice.append(make('option', {value: value === 'auto' ? '' : value,
                                  textContent: say(`value.${value}`) ?? value}));
  }
  return choice;
}

// A choice of which one value is the user's own, with the field for it.
function withOwn(name, values, field, label, is) {
  const choice = choiceOf(name, [...values, 'own']);
  const own = labelled(label, field);
  const show = () => {
    own.hidden = choice.value !== 'own';
  };
  choice.addEventListener('change', show);
  show();
  choice.dataset.own = is;
  return [labelled(say(`field.${name}`), choice), own];
}

// What the server calls a cover that was sent to it.
const sentCover = 'file';

function fieldsOf({name, values, repeats}) {
  const fixed = values.filter(value => words.includes(value));
  if (name === 'cover') {
    const picture = make('input', {type: 'file', name: 'cover-own',
                                   accept: 'image/jpeg,image/png,image/gif,image/svg+xml'});
    return withOwn(name, ['auto', 'none'], picture, say('picture'), 'file');
  }
  if (name === 'chapters') {
    const pattern = make('input', {name: 'chapters-own', spellcheck: false});
    return withOwn(name, ['auto', 'none'], pattern, say('pattern'), 'text');
  }
  const text = say(`field.${name}`) ?? name;
  if (values.length > 0 && fixed.length === values.length) return [labelled(text, choiceOf(name, values))];
  const field = make('input', {name, autocomplete: 'off'});
  if (repeats) field.dataset.repeats = true;
  return [labelled(text, field, say(`hint.${name}`) ?? (repeats ? say('hint.several') : null))];
}

// Fills an element with the fields of all options that the program offers.
export function offer(fields, options) {
  const known = new Map(options.map(option => [option.name, option]));
  const most = first.filter(name => known.has(name)).map(name => known.get(name));
  const rest = options.filter(({name}) => !first.includes(name));
  fields.replaceChildren(...most.flatMap(fieldsOf));
  if (rest.length === 0) return;
  const inner = make('div', {className: 'fields'}, ...rest.flatMap(fieldsOf));
  fields.append(make('details', {}, make('summary', {textContent: say('more')}), inner));
}

// What a form says: pairs of names and values, and the file of a cover.
export function optionsOf(form) {
  const values = [];
  let cover = null;
  for (const field of form.elements) {
    const value = field.value?.trim();
    if (!field.name || !value || field.name.endsWith('-own')) continue;
    if (value === 'own') {
      const own = form.elements[`${field.name}-own`];
      if (field.dataset.own === 'file' && own.files.length > 0) [cover] = own.files;
      else if (field.dataset.own === 'file') values.push([field.name, sentCover]);
      else if (own.value) values.push([field.name, own.value]);
    } else if (field.dataset.repeats) {
      for (const one of value.split(/[;；]/)) if (one.trim()) values.push([field.name, one.trim()]);
    } else {
      values.push([field.name, value]);
    }
  }
  return {values, cover};
}

function fill(field, value, form) {
  const text = [value].flat().join('; ');
  field.value = text;
  if (field.tagName !== 'SELECT') return;
  if (text && field.value !== text) { // not among the choices
    field.value = field.dataset.own && text !== 'auto' ? 'own' : '';
    if (field.dataset.own === 'text') form.elements[`${field.name}-own`].value = text;
  }
  field.dispatchEvent(new Event('change'));
}

// Shows in a form what was asked of a book, and behind it what was found out.
export function showOptions(form, book) {
  form.reset();
  for (const field of form.elements) {
    if (!field.name || field.name.endsWith('-own')) continue;
    fill(field, book.options?.[field.name] ?? '', form);
    if (field.tagName === 'INPUT') field.placeholder = book[field.name] ?? '';
  }
}
