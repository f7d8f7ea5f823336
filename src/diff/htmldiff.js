// HTML-aware word diff: compares two HTML documents word by word, treating tags as markup, and
// returns the new document with deletions wrapped in <del> and insertions in <ins>.
//
// Loaded as a classic script it defines the page globals htmldiff(oldHtml, newHtml) and HtmlDiff;
// loaded by Node it exports the same through module.exports.
(function (root) {
    'use strict';

    const Action = Object.freeze({ equal: 0, delete: 1, insert: 2, none: 3, replace: 4 });
    const Mode = Object.freeze({ character: 0, tag: 1, whitespace: 2, entity: 3 });

    const maxMatchGranularity = 4;
    const wholeTagPattern = /^\s*<\/?[^>]+>\s*$/;
    const tagNamePattern = /<[^\s>]+/;
    const whitespacePattern = /^(\s|&nbsp;)+$/;
    const wordCharPattern = /[\w#@]+/;
    // Global on purpose, and shared by every diff: each test() continues from where the previous
    // successful one ended (lastIndex), so a formatting tag right after another one, in the same
    // diff or the next, can go unrecognised. The output of the established algorithm depends on it.
    const specialOpeningTagPattern = /<((strong)|(b)|(i)|(em)|(big)|(small)|(u)|(sub)|(sup)|(strike)|(s))[>\s]+/gi;
    // "</sup>" is missing on purpose although "sup" opens a special tag; the output depends on it.
    const specialClosingTags = new Set(['</strong>', '</em>', '</b>', '</i>', '</big>', '</small>', '</u>',
        '</sub>', '</strike>', '</s>']);

    function isTag(token) {
        return wholeTagPattern.test(token) && !token.startsWith('<img');
    }

    function isWhitespace(token) {
        return whitespacePattern.test(token);
    }

    function isWordChar(ch) {
        return wordCharPattern.test(ch);
    }

    function isSpaceChar(ch) {
        return /\s/.test(ch);
    }

    // Tags compare by name only, so a change of attributes alone never breaks a match.
    function normalizeForIndex(word) {
        if (!isTag(word)) {
            return word;
        }
        const name = tagNamePattern.exec(word);
        return (name ? name[0] : word) + (word.endsWith('/>') ? '/>' : '>');
    }

    class Match {
        constructor(startInOld, startInNew, size) {
            this.startInOld = startInOld;
            this.startInNew = startInNew;
            this.size = size;
        }

        get endInOld() { return this.startInOld + this.size; }
        get endInNew() { return this.startInNew + this.size; }
    }

    class Operation {
        constructor(action, startInOld, endInOld, startInNew, endInNew) {
            this.action = action;
            this.startInOld = startInOld;
            this.endInOld = endInOld;
            this.startInNew = startInNew;
            this.endInNew = endInNew;
        }
    }

    // Start offset -> length of every block expression match, refusing overlaps.
    function findBlocks(text, blockExpressions) {
        const blocks = new Map();
        for (const expression of blockExpressions) {
            const flags = expression.flags.includes('g') ? expression.flags : expression.flags + 'g';
            const global = new RegExp(expression.source, flags);
            let found;
            while ((found = global.exec(text)) !== null) {
                if (found[0].length === 0) {
                    global.lastIndex += 1;
                    continue;
                }
                for (const [start, length] of blocks) {
                    if (found.index < start + length && start < found.index + found[0].length) {
                        throw new Error('One or more block expressions result in a text sequence that overlaps. '
                            + 'Current expression: ' + expression.toString());
                    }
                }
                blocks.set(found.index, found[0].length);
            }
        }
        return blocks;
    }

    // Splits HTML into words, tags, whitespace runs, entities and single punctuation characters.
    function convertHtmlToListOfWords(text, blockExpressions) {
        const blocks = findBlocks(text, blockExpressions || []);
        const words = [];
        let mode = Mode.character;
        let current = '';

        const addAndSwitch = (ch, next) => {
            if (current.length !== 0) {
                words.push(current);
            }
            current = ch;
            mode = next;
        };

        let index = 0;
        while (index < text.length) {
            const blockLength = blocks.get(index);
            if (blockLength !== undefined) {
                if (current.length !== 0) {
                    words.push(current);
                }
                words.push(text.substr(index, blockLength));
                current = '';
                mode = Mode.character;
                index += blockLength;
                continue;
            }

            const ch = text[index];
            switch (mode) {
            case Mode.character:
                if (ch === '<') {
                    addAndSwitch(ch, Mode.tag);
                } else if (ch === '&') {
                    addAndSwitch(ch, Mode.entity);
                } else if (isSpaceChar(ch)) {
                    addAndSwitch(ch, Mode.whitespace);
                } else if (isWordChar(ch) && (current.length === 0 || isWordChar(current[current.length - 1]))) {
                    current += ch;
                } else {
                    addAndSwitch(ch, Mode.character);
                }
                break;
            case Mode.tag:
                current += ch;
                if (ch === '>') {
                    words.push(current);
                    current = '';
                    mode = Mode.character;
                }
                break;
            case Mode.whitespace:
                if (ch === '<') {
                    addAndSwitch(ch, Mode.tag);
                } else if (ch === '&') {
                    addAndSwitch(ch, Mode.entity);
                } else if (isSpaceChar(ch)) {
                    current += ch;
                } else {
                    addAndSwitch(ch, Mode.character);
                }
                break;
            case Mode.entity:
                if (ch === '<') {
                    addAndSwitch(ch, Mode.tag);
                } else if (isSpaceChar(ch)) {
                    addAndSwitch(ch, Mode.whitespace);
                } else if (ch === ';') {
                    if (current.length !== 0) {
                        words.push(current + ch);
                        current = '';
                    }
                    // "&nbsp;" next to spaces joins them into one whitespace run.
                    const count = words.length;
                    if (count > 2 && isWhitespace(words[count - 1]) && isWhitespace(words[count - 2])) {
                        current = words[count - 2] + words[count - 1];
                        words.length = count - 2;
                        mode = Mode.whitespace;
                    } else {
                        mode = Mode.character;
                    }
                } else if (isWordChar(ch)) {
                    current += ch;
                } else {
                    addAndSwitch(ch, Mode.character);
                }
                break;
            }
            index += 1;
        }
        if (current.length !== 0) {
            words.push(current);
        }
        return words;
    }

    // Finds the longest run of equal words for one block size inside the given ranges.
    class MatchFinder {
        constructor(oldWords, newWords, startInOld, endInOld, startInNew, endInNew, options) {
            this.oldWords = oldWords;
            this.newWords = newWords;
            this.startInOld = startInOld;
            this.endInOld = endInOld;
            this.startInNew = startInNew;
            this.endInNew = endInNew;
            this.options = options;
        }

        indexNewWords() {
            const index = new Map();
            const block = [];
            for (let i = this.startInNew; i < this.endInNew; i++) {
                const key = this.pushToBlock(block, this.newWords[i]);
                if (key === null) {
                    continue;
                }
                const positions = index.get(key);
                if (positions) {
                    positions.push(i);
                } else {
                    index.set(key, [i]);
                }
            }
            // The bound can never be reached (a key has at most as many positions as there are
            // words); the check stays so that the accuracy option keeps its meaning.
            const limit = this.newWords.length + this.options.repeatingWordsAccuracy;
            for (const [key, positions] of index) {
                if (positions.length > limit) {
                    index.delete(key);
                }
            }
            return index;
        }

        // Slides the block by one word; returns its key once the block is full, else null.
        pushToBlock(block, word) {
            block.push(normalizeForIndex(word));
            if (block.length > this.options.blockSize) {
                block.shift();
            }
            return block.length === this.options.blockSize ? block.join('') : null;
        }

        findMatch() {
            const index = this.indexNewWords();
            const blockSize = this.options.blockSize;
            let runAt = new Map();
            let bestInOld = 0;
            let bestInNew = 0;
            let bestRun = 0;
            const block = [];
            for (let i = this.startInOld; i < this.endInOld; i++) {
                const key = this.pushToBlock(block, this.oldWords[i]);
                if (key === null) {
                    continue;
                }
                const nextRunAt = new Map();
                const positions = index.get(key);
                if (positions) {
                    for (const p of positions) {
                        const run = (runAt.get(p - 1) || 0) + 1;
                        nextRunAt.set(p, run);
                        if (run > bestRun) {
                            bestInOld = i - run - blockSize + 2;
                            bestInNew = p - run - blockSize + 2;
                            bestRun = run;
                        }
                    }
                }
                runAt = nextRunAt;
            }
            return bestRun !== 0 ? new Match(bestInOld, bestInNew, bestRun + blockSize - 1) : null;
        }
    }

    // Takes the leading words that satisfy the condition out of the list and returns them.
    function extractLeading(words, condition) {
        let count = 0;
        while (count < words.length && condition(words[count])) {
            count += 1;
        }
        return words.splice(0, count);
    }

    class HtmlDiff {
        constructor(oldText, newText) {
            this.content = [];
            this.oldText = oldText;
            this.newText = newText;
            this.oldWords = [];
            this.newWords = [];
            this.specialTagDiffStack = [];
            this.matchGranularity = 0;
            this.blockExpressions = [];
            this.repeatingWordsAccuracy = 1;
            this.ignoreWhiteSpaceDifferences = false;
            this.orphanMatchThreshold = 0;
        }

        static execute(oldText, newText) {
            return new HtmlDiff(oldText, newText).build();
        }

        addBlockExpression(expression) {
            this.blockExpressions.push(expression);
        }

        build() {
            if (this.oldText === this.newText) {
                return this.newText;
            }
            this.oldWords = convertHtmlToListOfWords(this.oldText, this.blockExpressions);
            this.newWords = convertHtmlToListOfWords(this.newText, this.blockExpressions);
            this.oldText = null;
            this.newText = null;
            this.matchGranularity = Math.min(maxMatchGranularity, this.oldWords.length, this.newWords.length);

            for (const operation of this.operations()) {
                this.performOperation(operation);
            }
            return this.content.join('');
        }

        operations() {
            const matches = this.matchingBlocks();
            matches.push(new Match(this.oldWords.length, this.newWords.length, 0));

            const operations = [];
            let positionInOld = 0;
            let positionInNew = 0;
            for (const match of this.removeOrphans(matches)) {
                const atOld = positionInOld === match.startInOld;
                const atNew = positionInNew === match.startInNew;
                let action;
                if (!atOld && !atNew) {
                    action = Action.replace;
                } else if (atOld && !atNew) {
                    action = Action.insert;
                } else if (atOld) {
                    action = Action.none;
                } else {
                    action = Action.delete;
                }
                if (action !== Action.none) {
                    operations.push(new Operation(action, positionInOld, match.startInOld,
                        positionInNew, match.startInNew));
                }
                operations.push(new Operation(Action.equal, match.startInOld, match.endInOld,
                    match.startInNew, match.endInNew));
                positionInOld = match.endInOld;
                positionInNew = match.endInNew;
            }
            return operations;
        }

        // Matches in document order. An explicit stack instead of recursion keeps long documents
        // with many small matches from exhausting the call stack.
        matchingBlocks() {
            const matches = [];
            const pending = [{ range: [0, this.oldWords.length, 0, this.newWords.length] }];
            while (pending.length !== 0) {
                const item = pending.pop();
                if (item.match) {
                    matches.push(item.match);
                    continue;
                }
                const [startInOld, endInOld, startInNew, endInNew] = item.range;
                const match = this.findMatch(startInOld, endInOld, startInNew, endInNew);
                if (!match) {
                    continue;
                }
                if (match.endInOld < endInOld && match.endInNew < endInNew) {
                    pending.push({ range: [match.endInOld, endInOld, match.endInNew, endInNew] });
                }
                pending.push({ match });
                if (startInOld < match.startInOld && startInNew < match.startInNew) {
                    pending.push({ range: [startInOld, match.startInOld, startInNew, match.startInNew] });
                }
            }
            return matches;
        }

        findMatch(startInOld, endInOld, startInNew, endInNew) {
            for (let blockSize = this.matchGranularity; blockSize > 0; blockSize--) {
                const options = {
                    blockSize,
                    repeatingWordsAccuracy: this.repeatingWordsAccuracy,
                    ignoreWhitespaceDifferences: this.ignoreWhiteSpaceDifferences,
                };
                const finder = new MatchFinder(this.oldWords, this.newWords,
                    startInOld, endInOld, startInNew, endInNew, options);
                const match = finder.findMatch();
                if (match) {
                    return match;
                }
            }
            return null;
        }

        // Drops small matches stranded between large changes; with a threshold of 0 every match
        // that holds any characters stays.
        removeOrphans(matches) {
            const kept = [];
            let previous = new Match(0, 0, 0);
            for (let k = 0; k < matches.length; k++) {
                const current = matches[k];
                const next = matches[k + 1];
                if (!next) {
                    kept.push(current);
                    break;
                }
                const touchesPrevious = previous.endInOld === current.startInOld
                    && previous.endInNew === current.startInNew;
                const touchesNext = current.endInOld === next.startInOld && current.endInNew === next.startInNew;
                if (touchesPrevious || touchesNext) {
                    kept.push(current);
                    previous = current;
                    continue;
                }
                const length = (words, start, end) => words.slice(start, end).reduce((sum, w) => sum + w.length, 0);
                const oldGap = length(this.oldWords, previous.endInOld, next.startInOld);
                const newGap = length(this.newWords, previous.endInNew, next.startInNew);
                const matchLength = length(this.newWords, current.startInNew, current.endInNew);
                if (matchLength > Math.max(oldGap, newGap) * this.orphanMatchThreshold) {
                    kept.push(current);
                    previous = current;
                }
            }
            return kept;
        }

        performOperation(operation) {
            switch (operation.action) {
            case Action.equal:
                this.content.push(this.newWords.slice(operation.startInNew, operation.endInNew).join(''));
                break;
            case Action.delete:
                this.insertTag('del', 'diffdel', this.oldWords.slice(operation.startInOld, operation.endInOld));
                break;
            case Action.insert:
                this.insertTag('ins', 'diffins', this.newWords.slice(operation.startInNew, operation.endInNew));
                break;
            case Action.replace:
                this.insertTag('del', 'diffmod', this.oldWords.slice(operation.startInOld, operation.endInOld));
                this.insertTag('ins', 'diffmod', this.newWords.slice(operation.startInNew, operation.endInNew));
                break;
            }
        }

        // Wraps runs of text in the tag; tags between them pass through, and changes of
        // formatting tags are marked with <ins class="mod">.
        insertTag(tag, cssClass, words) {
            while (words.length !== 0) {
                if (words[0] === ' ') {
                    words[0] = '&nbsp;';
                }
                const text = extractLeading(words, (word) => !isTag(word));
                if (text.length !== 0) {
                    this.content.push('<' + tag + ' class="' + cssClass + '">' + text.join('') + '</' + tag + '>');
                    continue;
                }

                let injection = '';
                let collapsed = false;
                if (specialOpeningTagPattern.test(words[0])) {
                    this.specialTagDiffStack.push(words[0]);
                    injection = '<ins class="mod">';
                    if (tag === 'del') {
                        words.shift();
                        extractLeading(words, (word) => specialOpeningTagPattern.test(word));
                    }
                } else if (specialClosingTags.has(words[0])) {
                    const opening = this.specialTagDiffStack.length !== 0 ? this.specialTagDiffStack.pop() : null;
                    if (opening !== null && opening === words[0].replace('/', '')) {
                        injection = '</ins>';
                        collapsed = true;
                    }
                    if (tag === 'del') {
                        words.shift();
                        extractLeading(words, (word) => specialClosingTags.has(word));
                    }
                }

                if (words.length === 0 && injection.length === 0) {
                    break;
                }
                const tags = extractLeading(words, isTag).join('');
                this.content.push(collapsed ? injection + tags : tags + injection);
            }
        }
    }

    function htmldiff(oldHtml, newHtml) {
        return HtmlDiff.execute(oldHtml, newHtml);
    }

    const exported = {
        htmldiff,
        HtmlDiff,
        Match,
        MatchFinder,
        Operation,
        Action,
        Mode,
        convertHtmlToListOfWords,
        isTag,
        isWhitespace,
        normalizeForIndex,
    };
    if (typeof module === 'object' && module !== null && module.exports) {
        module.exports = exported;
    } else {
        root.htmldiff = htmldiff;
        root.HtmlDiff = HtmlDiff;
    }
})(typeof window !== 'undefined' ? window : globalThis);
