'use strict';
// Tests of the HTML-aware word diff that the diff page carries (src/diff/htmldiff.js).
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const vm = require('node:vm');

const scriptPath = path.join(__dirname, '../../../src/diff/htmldiff.js');
const dataDir = path.join(__dirname, '../../data/htmldiff');
const { htmldiff, HtmlDiff, convertHtmlToListOfWords, normalizeForIndex } = require(scriptPath);

// [element, class, inner text] of every del/ins the diff produced, in document order.
function edits(html) {
    return [...html.matchAll(/<(del|ins) class="(\w+)">(.*?)<\/\1>/g)].map((m) => [m[1], m[2], m[3]]);
}

const stripTags = (html) => html.replace(/<[^>]*>/g, '');
const normalizeSpace = (text) => text.replace(/&nbsp;/g, ' ');

// What the reader sees of the new document: deleted runs gone, insert markers unwrapped.
function newSide(diff) {
    return diff.replace(/<del class="\w+">[\s\S]*?<\/del>/g, '').replace(/<\/?ins[^>]*>/g, '');
}

// What the reader sees of the old document: inserted runs gone, delete markers unwrapped.
function oldSide(diff) {
    return diff.replace(/<ins class="diff(ins|mod)">[\s\S]*?<\/ins>/g, '').replace(/<\/?(ins|del)[^>]*>/g, '');
}

function fixture(name) {
    return [fs.readFileSync(path.join(dataDir, name + '.old.html'), 'utf8'),
        fs.readFileSync(path.join(dataDir, name + '.new.html'), 'utf8')];
}

test('identical documents come back byte for byte without markup', () => {
    for (const doc of ['', 'plain', '<p>a &amp; b</p>', '<b>unclosed <i>x', ' \n\t<p>x</p>  ']) {
        const result = htmldiff(doc, doc);
        assert.equal(result, doc);
        assert.doesNotMatch(result, /<(del|ins)/);
    }
});

// [what, old, new, the diff exactly]
const exact = [
    ['a replaced word becomes an adjacent del and ins of class diffmod',
        'a b', 'a c', 'a <del class="diffmod">b</del><ins class="diffmod">c</ins>'],
    ['a pure insertion carries diffins', '', 'abc', '<ins class="diffins">abc</ins>'],
    ['a pure deletion carries diffdel', 'abc', '', '<del class="diffdel">abc</del>'],
    ['an insertion keeps its trailing space', 'one two', 'one new two', 'one <ins class="diffins">new </ins>two'],
    ['a deletion keeps its trailing space', 'one old two', 'one two', 'one <del class="diffdel">old </del>two'],
    ['a single leading space of an insertion becomes non-breaking', 'a', 'a b', 'a<ins class="diffins">&nbsp;b</ins>'],
    ['a single leading space of a deletion becomes non-breaking', 'a b', 'a', 'a<del class="diffdel">&nbsp;b</del>'],
    ['two leading spaces stay as they are', 'a', 'a  b', 'a<ins class="diffins">  b</ins>'],
    ['whitespace differences are never ignored',
        'a  b', 'a b', 'a<del class="diffmod">  </del><ins class="diffmod">&nbsp;</ins>b'],
    ['the earliest of equally long matches wins', 'a b c', 'a b c a b c', 'a b c<ins class="diffins">&nbsp;a b c</ins>'],
    ['the earliest match wins after an insertion too', 'a b c', 'x a b c a b c',
        '<ins class="diffins">x </ins>a b c<ins class="diffins">&nbsp;a b c</ins>'],
    ['a change of attributes alone is matched and the new tag is kept',
        '<p class="old" style="color:red">same words here</p>', '<p class="new">same words here</p>',
        '<p class="new">same words here</p>'],
    ['an image tag is a word', '<p><img src="a.png"> old</p>', '<p><img src="a.png"> new</p>',
        '<p><img src="a.png"> <del class="diffmod">old</del><ins class="diffmod">new</ins></p>'],
    ['ordinary tags pass through an insertion unwrapped', '<p>one</p>', '<p>one</p><p>two</p>',
        '<p>one</p><p><ins class="diffins">two</ins></p>'],
    ['ordinary tags pass through a deletion unwrapped', '<p>one</p><p>two</p>', '<p>one</p>',
        '<p>one</p><p><del class="diffdel">two</del></p>'],
    ['inserted formatting is marked with an ins of class mod', 'one two three four', 'one <b>two</b> three four',
        'one <b><ins class="mod">two</ins></b> three four'],
    ['removed formatting tags vanish and the text is marked as a formatting change',
        'one <b>two</b> three four', 'one two three four', 'one <ins class="mod">two</ins> three four'],
    ['special opening tags match case-insensitively, closing tags only in lower case',
        'a <B>b</B> c', 'a b c', 'a <ins class="mod">b</B> c'],
    ['a lower-case closing tag closes the marker', 'a <b>b</b> c', 'a b c', 'a <ins class="mod">b</ins> c'],
    ['an entity is a word of its own', 'a&nbsp;b c', 'a&nbsp;b d', 'a&nbsp;b <del class="diffmod">c</del><ins class="diffmod">d</ins>'],
    // Three words each: a size-4 block cannot exist, yet the common words are still found.
    ['short texts still find their common words', 'one two three', 'one two four',
        'one two <del class="diffmod">three</del><ins class="diffmod">four</ins>'],
];

for (const [what, oldHtml, newHtml, expected] of exact) {
    test(what, () => assert.equal(htmldiff(oldHtml, newHtml), expected));
}

test('tags normalise to their name, keeping a self-closing slash', () => {
    const cases = [
        ['<p class="x">', '<p>'],
        ['<br />', '<br/>'],
        ['<br>', '<br>'],
        ['</span>', '</span>'],
        ['<img src="a.png">', '<img src="a.png">'],
        ['word', 'word'],
    ];
    for (const [word, key] of cases) {
        assert.equal(normalizeForIndex(word), key, word);
    }
});

test('a changed image is deleted and inserted', () => {
    assert.deepEqual(edits(htmldiff('<p><img src="a.png"> text</p>', '<p><img src="b.png"> text</p>')),
        [['del', 'diffmod', '<img src="a.png">'], ['ins', 'diffmod', '<img src="b.png">']]);
});

test('nested formatting inserted and removed', () => {
    const inserted = htmldiff('a word b', 'a <strong><em>word</em></strong> b');
    assert.equal(inserted, 'a <strong><em><ins class="mod">word</em></strong> b');
    assert.equal(newSide(inserted), 'a <strong><em>word</em></strong> b');

    // The inner opening tag is tested from where the outer one's match ended, so it is not seen
    // as formatting and stays; the closing tags are dropped.
    const removed = htmldiff('a <strong><em>word</em></strong> b', 'a word b');
    assert.equal(removed, 'a <em><ins class="mod">word b');
    assert.equal(stripTags(removed), 'a word b');
    assert.deepEqual(edits(removed), []);
});

test('the opening-tag expression is global: each test continues where the last match ended', () => {
    // A fresh copy of the script, so no earlier diff has moved the expression's position.
    const window = {};
    vm.runInNewContext(fs.readFileSync(scriptPath, 'utf8'), { window });
    const diff = window.htmldiff;
    // [old, new, the diff exactly], in this order: each row starts where the one before left off.
    const rows = [
        ['a b', 'a <b>b', 'a <b><ins class="mod">b'],
        ['a b', 'a <b>b', 'a <b>b'], // tested from position 3 of "<b>": no match, position back to 0
        // Nested formatting removed: the inner tag is tested from where the outer one's match ended.
        ['a <b><i>x</i></b> c', 'a c', 'a <i><ins class="mod"><del class="diffdel">x</del><del class="diffdel">&nbsp;</del>c'],
        ['a b', 'a <B>b</B>', 'a <B><ins class="mod">b</B>'], // case-insensitive
        // The closing tag was tested against the opening expression first, failed and reset it.
        ['a b', 'a <b>b', 'a <b><ins class="mod">b'],
        ['a <b><i>x</i></b> c', 'a c', 'a <b><i><del class="diffdel">x</del><del class="diffdel">&nbsp;</del>c'],
    ];
    for (const [oldHtml, newHtml, expected] of rows) {
        assert.equal(diff(oldHtml, newHtml), expected, oldHtml + ' -> ' + newHtml);
    }
});

test('sup opens a special tag but its closing tag is ordinary, unlike sub', () => {
    // The closing sub tag ends the formatting marker; the closing sup tag leaves it open.
    const sub = htmldiff('H2O here', 'H<sub>2</sub>O here');
    assert.match(sub, /<sub><ins class="mod"><ins class="diffmod">2<\/ins><\/ins><\/sub>/);
    const sup = htmldiff('E = mc2 here', 'E = mc<sup>2</sup> here');
    assert.match(sup, /<sup><ins class="mod"><ins class="diffmod">2<\/ins><\/sup>/);
});

test('short texts start with a smaller block size', () => {
    const cases = [
        ['a', 'b', 1],
        ['a b', 'a c', 3],
        ['one two three', 'one two four', 5],
        ['one two three four', 'one two three five', 4],
        ['', 'x', 0],
    ];
    for (const [oldText, newText, granularity] of cases) {
        const diff = new HtmlDiff(oldText, newText);
        diff.build();
        assert.equal(diff.matchGranularity, Math.min(4, granularity), `${oldText} / ${newText}`);
    }
});

test('words split into tags, whitespace, entities and single punctuation', () => {
    const cases = [
        ['Hello, world!', ['Hello', ',', ' ', 'world', '!']],
        ['<b class="x y">bold</b>', ['<b class="x y">', 'bold', '</b>']],
        ['a  \n b', ['a', '  \n ', 'b']],
        ['you&amp;me', ['you', '&amp;', 'me']],
        ['a &nbsp; b', ['a', ' &nbsp; ', 'b']],
        ['&nbsp; b', ['&nbsp;', ' ', 'b']],
        ['a & b', ['a', ' ', '&', ' ', 'b']],
        ['@user #tag under_score 42', ['@user', ' ', '#tag', ' ', 'under_score', ' ', '42']],
        ['it\u2019s', ['it', '\u2019', 's']],
        ['x<img src="a.png">y', ['x', '<img src="a.png">', 'y']],
        ['a <unterminated tag', ['a', ' ', '<unterminated tag']],
        ['a.b', ['a', '.', 'b']],
        ['..', ['.', '.']],
    ];
    for (const [text, words] of cases) {
        assert.deepEqual(convertHtmlToListOfWords(text), words, text);
    }
});

test('block expressions keep their matches as one word and refuse overlaps', () => {
    assert.deepEqual(convertHtmlToListOfWords('from 10-20 on', [/\d+-\d+/]), ['from', ' ', '10-20', ' ', 'on']);
    const diff = new HtmlDiff('from 10-20 on', 'from 10-25 on');
    diff.addBlockExpression(/\d+-\d+/);
    assert.deepEqual(edits(diff.build()), [['del', 'diffmod', '10-20'], ['ins', 'diffmod', '10-25']]);
    assert.throws(() => convertHtmlToListOfWords('1-2-3', [/\d-\d/, /2-3/]),
        { message: 'One or more block expressions result in a text sequence that overlaps. Current expression: /2-3/' });
});

test('an orphan threshold drops small matches between large changes', () => {
    const oldText = 'alpha beta gamma delta x epsilon zeta eta theta';
    const newText = 'one two three four x five six seven eight';
    assert.match(htmldiff(oldText, newText), /<\/ins> x <del/);
    const diff = new HtmlDiff(oldText, newText);
    diff.orphanMatchThreshold = 0.2;
    const result = diff.build();
    assert.doesNotMatch(result, /<\/ins> x <del/);
    assert.equal(normalizeSpace(stripTags(newSide(result))), newText);
});

const fixtures = [
    ['browser-list', [
        ['del', 'diffmod', 'fixs'], ['ins', 'diffmod', 'fixes'],
        ['del', 'diffmod', 'start up'], ['ins', 'diffmod', 'startup'],
        ['del', 'diffmod', 'it\'s'], ['ins', 'diffmod', 'its'],
        ['del', 'diffdel', '&nbsp;the'],
    ]],
    ['google-docs', [
        ['del', 'diffmod', 'was'], ['ins', 'diffmod', 'were'],
        ['del', 'diffmod', 'tuesday'], ['ins', 'diffmod', 'Tuesday'],
        ['del', 'diffmod', 'were'], ['ins', 'diffmod', 'was'],
    ]],
    ['email-table', [
        ['del', 'diffdel', 'the '],
        ['del', 'diffmod', 'discused'], ['ins', 'diffmod', 'discussed'],
        ['del', 'diffmod', 'thats'], ['ins', 'diffmod', 'that\'s'],
        ['del', 'diffmod', 'ok'], ['ins', 'diffmod', 'OK'],
    ]],
];

for (const [name, expected] of fixtures) {
    test(`real-world markup: ${name}`, () => {
        const [oldHtml, newHtml] = fixture(name);
        const result = htmldiff(oldHtml, newHtml);
        assert.deepEqual(edits(result), expected);
        // Both documents can be read back out of the diff.
        assert.equal(normalizeSpace(newSide(result)), normalizeSpace(newHtml));
        assert.equal(normalizeSpace(stripTags(oldSide(result))), normalizeSpace(stripTags(oldHtml)));
        assert.doesNotMatch(result, /class="mod"/);
    });
}

test('the Google Docs wrapper keeps its new attributes', () => {
    const [oldHtml, newHtml] = fixture('google-docs');
    const result = htmldiff(oldHtml, newHtml);
    assert.ok(result.startsWith('<meta charset="utf-8"><b style="font-weight:normal;"><p dir="ltr"'));
    assert.doesNotMatch(result, /docs-internal-guid/);
});

test('loaded as a page script it installs the globals on window', () => {
    const source = fs.readFileSync(scriptPath, 'utf8');
    const window = {};
    vm.runInNewContext(source, { window });
    assert.equal(typeof window.htmldiff, 'function');
    assert.equal(window.htmldiff('a b', 'a c'), htmldiff('a b', 'a c'));
    assert.equal(window.HtmlDiff.execute('x', 'y'), '<del class="diffmod">x</del><ins class="diffmod">y</ins>');
});

test('the script never closes the page script element that carries it', () => {
    assert.doesNotMatch(fs.readFileSync(scriptPath, 'utf8'), /<\/script/i);
});
