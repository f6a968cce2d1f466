// All words of the page, in English and Chinese, and which of them are said.

export const texts = {
  en: {
    name: 'Kav EPUB',
    purpose: 'Books of what you have to read',
    dropHere: 'Drop texts, web pages, pictures or MOBI books here',
    dropMore: 'Whole folders, too, and saved pages with theirs, and ZIP files of sites',
    chooseFiles: 'Choose files',
    chooseFolder: 'Choose a folder',
    before: 'Title, author, cover, chapters…',
    beforeHint: 'For what you bring next. What is left empty is found out.',
    books: {one: '{n} book', other: '{n} books'},
    noBooks: 'There are no books yet.',
    downloadAll: 'Download all',
    forgetAll: 'Forget all',
    forgetAllSure: 'Forget all books?',
    forgetAllHint: 'They and what they were made of are deleted here.',
    read: 'Read',
    download: 'Download',
    edit: 'Change',
    cancel: 'Cancel',
    forget: 'Forget',
    keep: 'Keep them',
    close: 'Close',
    of: '{action}: {title}',
    by: 'by {author}',
    state: {
      uploading: 'Being brought here', waiting: 'Waiting', converting: 'Being made', done: 'Done',
      failed: 'No book was made', cancelled: 'Cancelled', refused: 'Was not taken',
    },
    waitingBehind: {one: 'Waiting, first in the queue', other: 'Waiting, number {n} in the queue'},
    percent: '{n} %',
    secondsLeft: {one: 'about a second left', other: 'about {n} seconds left'},
    minutesLeft: {one: 'about a minute left', other: 'about {n} minutes left'},
    said: '{title}: {state}',
    progressOf: 'Progress of {title}',
    kind: {text: 'from a text', html: 'from web pages', mobi: 'from a MOBI book', pictures: 'from pictures'},
    remarks: {one: '{n} remark', other: '{n} remarks'},
    chapters: {one: '{n} chapter', other: '{n} chapters'},
    keptHours: {one: 'Books are kept for {n} hour.', other: 'Books are kept for {n} hours.'},
    forPrograms: 'For programs',
    filesBrought: {one: '{n} file', other: '{n} files'},
    editTitle: 'Change the book',
    editHint: 'What is left empty is found out.',
    again: 'Make it again',
    cause: {
      book: '', // the message says it
      machine: 'Something is wrong with this computer.',
      disk: 'The disk is full or does not answer.',
      memory: 'There is not enough memory.',
    },
    error: {
      'too-large': 'That is larger than what is taken here: {most} at most.',
      'too-many-books': 'There are too many books; forget some.',
      'too-many-tries': 'That was tried too often; wait a little.',
      'busy': 'There is too much to do just now; try again in a while.',
      'disk-full': 'The disk is full.',
      'wrong-password': 'This is not the password.',
      'login-needed': 'Please log in.',
      'not-found': 'This book is no longer here.',
      'not-finished': 'The book is still being made; cancel that first.',
      'unreadable': 'Something of this cannot be read.',
      'connection': 'The program does not answer; is it still running? Trying again.',
    },
    login: 'Log in',
    logout: 'Log out',
    password: 'Password',
    field: {
      'title': 'Title', 'author': 'Author', 'language': 'Language', 'cover': 'Cover',
      'chapters': 'Chapters', 'translator': 'Translator', 'publisher': 'Publisher',
      'date': 'Published', 'description': 'Description', 'subject': 'Subject', 'rights': 'Rights',
      'isbn': 'ISBN', 'series': 'Series', 'series-index': 'Number in the series',
      'encoding': 'Encoding', 'encoding-errors': 'What is no character',
      'paragraphs': 'Paragraphs', 'keep-navigation': 'Bars of links',
    },
    value: {
      'auto': 'Automatic', 'none': 'None', 'own': 'My own', 'line': 'One a line',
      'wrapped': 'Of several lines', 'strict': 'Is not taken', 'replace': 'Is replaced',
      'yes': 'Keep', 'no': 'Leave out',
    },
    hint: {
      'several': 'Several with semicolons between them',
      'language': 'A tag such as en or zh-Hant',
      'date': 'Year, or 2026-05, or 2026-05-31',
    },
    picture: 'Picture for the cover',
    pattern: 'Lines that are headings (a regular expression)',
    more: 'More',
    reading: 'Reading {title}',
    opening: 'Opening the book…',
    unreadable: 'The book cannot be shown here. Download it and open it in your reader.',
    contents: 'Contents',
    next: 'Next page',
    previous: 'Previous page',
    larger: 'Larger letters',
    smaller: 'Smaller letters',
    night: 'Night',
    chapterPage: 'Page {n} of {of}',
    pagesOf: 'Pages of {title}',
  },
  zh: {
    name: 'Kav EPUB',
    purpose: '把想读的做成书',
    dropHere: '把文本、网页、图片或 MOBI 书拖到这里',
    dropMore: '也可以是整个文件夹、保存的网页连同其文件夹，或网站的 ZIP 文件',
    chooseFiles: '选择文件',
    chooseFolder: '选择文件夹',
    before: '书名、作者、封面、章节……',
    beforeHint: '用于接下来添加的内容。留空则自动判断。',
    books: {other: '{n} 本书'},
    noBooks: '还没有书。',
    downloadAll: '全部下载',
    forgetAll: '全部删除',
    forgetAllSure: '删除所有的书？',
    forgetAllHint: '这里的书和制作它们的文件都会被删除。',
    read: '阅读',
    download: '下载',
    edit: '修改',
    cancel: '取消',
    forget: '删除',
    keep: '保留',
    close: '关闭',
    of: '{action}：{title}',
    by: '{author} 著',
    state: {
      uploading: '正在上传', waiting: '等待中', converting: '正在制作', done: '已完成',
      failed: '没有做成书', cancelled: '已取消', refused: '未被接受',
    },
    waitingBehind: {other: '等待中，排在第 {n} 位'},
    percent: '{n}%',
    secondsLeft: {other: '大约还需 {n} 秒'},
    minutesLeft: {other: '大约还需 {n} 分钟'},
    said: '{title}：{state}',
    progressOf: '《{title}》的进度',
    kind: {text: '来自文本', html: '来自网页', mobi: '来自 MOBI 书', pictures: '来自图片'},
    remarks: {other: '{n} 条说明'},
    chapters: {other: '{n} 章'},
    keptHours: {other: '书会保留 {n} 小时。'},
    forPrograms: '程序接口',
    filesBrought: {other: '{n} 个文件'},
    editTitle: '修改这本书',
    editHint: '留空则自动判断。',
    again: '重新制作',
    cause: {
      book: '用来制作书的内容有问题。',
      machine: '这台计算机有问题。',
      disk: '磁盘已满或没有响应。',
      memory: '内存不足。',
    },
    error: {
      'too-large': '文件太大，最多 {most}。',
      'too-many-books': '书太多了，请先删除一些。',
      'too-many-tries': '尝试次数太多，请稍等。',
      'busy': '现在要做的太多了，请稍后再试。',
      'disk-full': '磁盘已满。',
      'wrong-password': '密码不正确。',
      'login-needed': '请登录。',
      'not-found': '这本书已经不在了。',
      'not-finished': '书还在制作中，请先取消。',
      'unreadable': '其中有内容无法读取。',
      'connection': '程序没有响应；它还在运行吗？正在重试。',
    },
    login: '登录',
    logout: '退出登录',
    password: '密码',
    field: {
      'title': '书名', 'author': '作者', 'language': '语言', 'cover': '封面', 'chapters': '章节',
      'translator': '译者', 'publisher': '出版社', 'date': '出版日期', 'description': '简介',
      'subject': '主题', 'rights': '版权', 'isbn': 'ISBN', 'series': '丛书',
      'series-index': '丛书中的序号', 'encoding': '编码', 'encoding-errors': '无效字符',
      'paragraphs': '段落', 'keep-navigation': '导航链接',
    },
    value: {
      'auto': '自动', 'none': '无', 'own': '自定义', 'line': '每行一段', 'wrapped': '多行一段',
      'strict': '不接受', 'replace': '替换', 'yes': '保留', 'no': '去掉',
    },
    hint: {
      'several': '多项用分号隔开',
      'language': '语言标签，如 en 或 zh-Hant',
      'date': '年份，或 2026-05，或 2026-05-31',
    },
    picture: '封面图片',
    pattern: '作为标题的行（正则表达式）',
    more: '更多',
    reading: '正在阅读《{title}》',
    opening: '正在打开……',
    unreadable: '这本书无法在这里显示。请下载后用阅读器打开。',
    contents: '目录',
    next: '下一页',
    previous: '上一页',
    larger: '放大字号',
    smaller: '缩小字号',
    night: '夜间',
    chapterPage: '第 {n} 页，共 {of} 页',
    pagesOf: '《{title}》的书页',
  },
};

// The first language of the browser that there are words in.
export function languageOf(wanted) {
  const known = wanted.map(tag => tag.split('-')[0]).find(tag => Object.hasOwn(texts, tag));
  return known ?? 'en';
}

export const language = languageOf(navigator.languages);
export const tag = language === 'zh' ? 'zh-Hans' : language;
const plurals = new Intl.PluralRules(tag);

function formOf(entry, values) {
  return typeof entry === 'object' ? entry[plurals.select(values.n)] ?? entry.other : entry;
}

// The words of a key such as "state.done"; undefined when there are none. {n} and the like are
// replaced by values.
export function say(key, values = {}) {
  const entry = key.split('.').reduce((table, part) => table?.[part], texts[language]);
  return formOf(entry, values)?.replace(/\{(\w+)\}/g, (all, name) => values[name] ?? all);
}

// Puts words where the markup asks for them: as text (data-text) and as names (data-label).
export function translate(root) {
  for (const element of root.querySelectorAll('[data-text]')) {
    element.textContent = say(element.dataset.text);
  }
  for (const element of root.querySelectorAll('[data-label]')) {
    element.setAttribute('aria-label', say(element.dataset.label));
    element.title = say(element.dataset.label);
  }
}
