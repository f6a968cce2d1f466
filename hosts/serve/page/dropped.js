// Finds the files in what was dropped or chosen, with their paths.

function readSome(reader) {
  return new Promise((resolve, reject) => reader.readEntries(resolve, reject));
}

async function filesIn(entry) {
  if (entry.isFile) {
    const file = await new Promise((resolve, reject) => entry.file(resolve, reject));
    return [{path: entry.fullPath.replace(/^\//, ''), file}];
  }
  const reader = entry.createReader();
  const files = [];
  for (let some = await readSome(reader); some.length > 0; some = await readSome(reader)) {
    for (const inner of some) files.push(...await filesIn(inner));
  }
  return files;
}

// Must be called while the event is handled, as what was dropped is gone afterwards.
export async function filesDropped(transfer) {
  const entries = [...transfer.items].filter(item => item.kind === 'file')
                                     .map(item => item.webkitGetAsEntry());
  const found = await Promise.all(entries.filter(Boolean).map(filesIn));
  return found.flat();
}

export function filesChosen(input) {
  return [...input.files].map(file => ({path: file.webkitRelativePath || file.name, file}));
}
