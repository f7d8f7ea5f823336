'use strict';
// Times the HTML diff script on generated HTML pairs of about 10,000 and 100,000 characters with
// about 5% of the words changed. Usage: node bench/diff/htmldiff_bench.js [iterations]
const path = require('node:path');
const { htmldiff, convertHtmlToListOfWords } = require(path.join(__dirname, '../../src/diff/htmldiff.js'));

const vocabulary = ('the of and to in is was for on that with as by at from this be are have it not or an '
    + 'which one all were their there been has more when will would who so if out about up them into some '
    + 'than then its time only could new these two may first any like now my such make over our even most '
    + 'report release budget meeting customer project schedule review document update feature request '
    + 'planning design change version quickly carefully tomorrow yesterday weekly important').split(' ');

function random(seed) {
    let state = seed >>> 0;
    return () => {
        state = (state * 1664525 + 1013904223) >>> 0;
        return state / 4294967296;
    };
}

function sentence(next, words) {
    const out = [];
    for (let i = 0; i < words; i++) {
        out.push(vocabulary[Math.floor(next() * vocabulary.length)]);
    }
    out[0] = out[0][0].toUpperCase() + out[0].slice(1);
    return out.join(' ') + '.';
}

// Browser-like markup: headings, styled paragraphs with inline formatting and links, lists.
function document(targetChars, seed) {
    const next = random(seed);
    const blocks = [];
    let length = 0;
    while (length < targetChars) {
        const kind = next();
        let block;
        if (kind < 0.1) {
            block = '<h2>' + sentence(next, 4) + '</h2>';
        } else if (kind < 0.3) {
            const items = [];
            for (let i = 0; i < 3; i++) {
                items.push('<li>' + sentence(next, 6) + '</li>');
            }
            block = '<ul>' + items.join('') + '</ul>';
        } else {
            const parts = [];
            for (let i = 0; i < 3; i++) {
                let s = sentence(next, 8 + Math.floor(next() * 8));
                if (next() < 0.3) {
                    s = s.replace(/ (\w+) /, ' <b>$1</b> ');
                }
                if (next() < 0.2) {
                    s = s.replace(/ (\w+)\./, ' <a href="https://example.org/p">$1</a>.');
                }
                parts.push(s);
            }
            block = '<p style="margin: 0 0 8px; font-family: Arial;">' + parts.join(' ') + '</p>';
        }
        blocks.push(block);
        length += block.length;
    }
    return blocks.join('\n');
}

// Changes about the given share of the text words: replacements, insertions and deletions.
function edit(html, share, seed) {
    const next = random(seed);
    return html.replace(/>([^<]+)</g, (whole, text) => '>' + text.replace(/[A-Za-z]+/g, (word) => {
        if (next() >= share) {
            return word;
        }
        const kind = next();
        if (kind < 0.6) {
            return vocabulary[Math.floor(next() * vocabulary.length)];
        }
        if (kind < 0.8) {
            return word + ' ' + vocabulary[Math.floor(next() * vocabulary.length)];
        }
        return '';
    }) + '<');
}

function median(values) {
    const sorted = [...values].sort((a, b) => a - b);
    return sorted[Math.floor(sorted.length / 2)];
}

function time(fn, iterations) {
    fn();
    const samples = [];
    for (let i = 0; i < iterations; i++) {
        const start = process.hrtime.bigint();
        fn();
        samples.push(Number(process.hrtime.bigint() - start) / 1e6);
    }
    return median(samples);
}

const iterations = Number(process.argv[2] || 11);
console.log('size      chars(old/new)   words   edits  diff ms  split-only ms (baseline)');
for (const size of [10000, 100000]) {
    const oldHtml = document(size, size);
    const newHtml = edit(oldHtml, 0.05, size + 1);
    const result = htmldiff(oldHtml, newHtml);
    const edits = (result.match(/<(del|ins) class="diff/g) || []).length;
    const words = convertHtmlToListOfWords(oldHtml).length;
    const diffMs = time(() => htmldiff(oldHtml, newHtml), size > 50000 ? Math.max(3, Math.floor(iterations / 2)) : iterations);
    const splitMs = time(() => {
        convertHtmlToListOfWords(oldHtml);
        convertHtmlToListOfWords(newHtml);
    }, iterations);
    console.log(`${String(size).padEnd(9)} ${(oldHtml.length + '/' + newHtml.length).padEnd(16)} ${String(words).padEnd(7)} `
        + `${String(edits).padEnd(6)} ${diffMs.toFixed(1).padStart(7)}  ${splitMs.toFixed(1).padStart(7)}`);
}
