#include "diff/WordLcs.h"

#include <algorithm>
#include <bit>
#include <cmath>

// Row i of the LCS table L is kept as a bit vector V_i over the fixed words: bit j-1 is clear
// exactly where L[i][j] = L[i][j-1] + 1 (each row steps by 0 or 1, so the steps are the row).
// One original word advances a row with V' = (V + (V & M)) | (V & ~M), M being the positions
// where that word occurs in the fixed text; L[i][j] is j minus the set bits below j.

namespace {

using Word = quint64;

void advanceRow(Word *row, const Word *mask, qsizetype words)
{
    Word carry = 0;
    for (qsizetype k = 0; k < words; ++k) {
        const Word v = row[k];
        const Word u = v & mask[k];
        const Word sum = v + u;
        const Word total = sum + carry;
        carry = Word(sum < v) | Word(total < sum);
        row[k] = total | (v & ~u);
    }
}

/// The positions of each word in the fixed text as a bit mask, built on demand.
class MatchMasks
{
public:
    MatchMasks(std::span<const int> fixed, qsizetype words)
        : m_words(words)
    {
        int maxId = -1;
        for (int id : fixed)
            maxId = std::max(maxId, id);
        m_offsets.assign(std::size_t(maxId) + 2, 0);
        for (int id : fixed) {
            if (id >= 0)
                ++m_offsets[std::size_t(id) + 1];
        }
        for (std::size_t k = 1; k < m_offsets.size(); ++k)
            m_offsets[k] += m_offsets[k - 1];
        m_positions.resize(std::size_t(m_offsets.back()));
        std::vector<qsizetype> fill(m_offsets.begin(), m_offsets.end() - 1);
        for (qsizetype j = 0; j < qsizetype(fixed.size()); ++j) {
            if (fixed[j] >= 0)
                m_positions[std::size_t(fill[std::size_t(fixed[j])]++)] = j;
        }
        m_scratch.assign(std::size_t(words), 0);
        m_denseSlot.assign(std::size_t(maxId) + 1, -1);
    }

    /// The mask of a word, or nullptr when it does not occur; valid until the next call.
    const Word *maskFor(int id)
    {
        clearScratch();
        if (id < 0 || std::size_t(id) + 1 >= m_offsets.size())
            return nullptr;
        const auto begin = m_offsets[std::size_t(id)];
        const auto end = m_offsets[std::size_t(id) + 1];
        if (begin == end)
            return nullptr;
        // Frequent words get a mask of their own: filling and clearing the scratch row would
        // cost more than the row update itself. There are few of them, so memory stays small.
        if ((end - begin) * 2 > m_words) {
            int &slot = m_denseSlot[std::size_t(id)];
            if (slot < 0) {
                slot = int(m_dense.size() / std::size_t(m_words));
                m_dense.resize(m_dense.size() + std::size_t(m_words), 0);
                Word *mask = m_dense.data() + std::size_t(slot) * std::size_t(m_words);
                for (auto p = begin; p < end; ++p)
                    setBit(mask, m_positions[std::size_t(p)]);
            }
            return m_dense.data() + std::size_t(slot) * std::size_t(m_words);
        }
        for (auto p = begin; p < end; ++p)
            setBit(m_scratch.data(), m_positions[std::size_t(p)]);
        m_scratchId = id;
        return m_scratch.data();
    }

private:
    static void setBit(Word *mask, qsizetype j) { mask[j / 64] |= Word(1) << (j % 64); }

    void clearScratch()
    {
        if (m_scratchId < 0)
            return;
        for (auto p = m_offsets[std::size_t(m_scratchId)]; p < m_offsets[std::size_t(m_scratchId) + 1]; ++p)
            m_scratch[std::size_t(m_positions[std::size_t(p)] / 64)] = 0;
        m_scratchId = -1;
    }

    qsizetype m_words;
    std::vector<qsizetype> m_offsets;
    std::vector<qsizetype> m_positions;
    std::vector<Word> m_scratch;
    std::vector<int> m_denseSlot;
    std::vector<Word> m_dense;
    int m_scratchId = -1;
};

/// Rows of the table for one block of original words, recomputed from a checkpoint row.
class RowBlocks
{
public:
    RowBlocks(std::span<const int> original, MatchMasks &masks, qsizetype words, qsizetype budget)
        : m_original(original)
        , m_masks(masks)
        , m_words(words)
    {
        const qsizetype n = qsizetype(original.size());
        const qsizetype rowBytes = words * qsizetype(sizeof(Word));
        m_blockRows = (n + 1) * rowBytes <= budget
            ? n
            : std::max<qsizetype>(1, qsizetype(std::ceil(std::sqrt(double(n)))));
        m_checkpoints.assign(std::size_t((n / m_blockRows + 1) * words), ~Word(0));
        if (m_blockRows < n) {
            std::vector<Word> row(std::size_t(words), ~Word(0));
            for (qsizetype i = 1; i <= n; ++i) {
                advance(row.data(), i);
                if (i % m_blockRows == 0)
                    std::copy(row.begin(), row.end(), m_checkpoints.begin() + (i / m_blockRows) * words);
            }
        }
        m_block.resize(std::size_t((m_blockRows + 1) * words));
    }

    /// Row i of the table; rows i and i - 1 are both available after the call.
    const Word *row(qsizetype i)
    {
        const qsizetype start = ((i - 1) / m_blockRows) * m_blockRows;
        if (start != m_start)
            load(start);
        return m_block.data() + (i - m_start) * m_words;
    }

private:
    void advance(Word *row, qsizetype i)
    {
        if (const Word *mask = m_masks.maskFor(m_original[std::size_t(i - 1)]))
            advanceRow(row, mask, m_words);
    }

    void load(qsizetype start)
    {
        m_start = start;
        const qsizetype end = std::min<qsizetype>(start + m_blockRows, qsizetype(m_original.size()));
        auto checkpoint = m_checkpoints.begin() + (start / m_blockRows) * m_words;
        std::copy(checkpoint, checkpoint + m_words, m_block.begin());
        for (qsizetype i = start + 1; i <= end; ++i) {
            Word *row = m_block.data() + (i - start) * m_words;
            std::copy(row - m_words, row, row);
            advance(row, i);
        }
    }

    std::span<const int> m_original;
    MatchMasks &m_masks;
    qsizetype m_words;
    qsizetype m_blockRows = 1;
    qsizetype m_start = -1;
    std::vector<Word> m_checkpoints;
    std::vector<Word> m_block;
};

// L[row][j]: the columns up to j minus the set bits among them.
qsizetype valueAt(const Word *row, qsizetype j)
{
    qsizetype set = 0;
    const qsizetype full = j / 64;
    for (qsizetype k = 0; k < full; ++k)
        set += std::popcount(row[k]);
    if (const qsizetype rest = j % 64)
        set += std::popcount(row[full] & ((Word(1) << rest) - 1));
    return j - set;
}

// L[row][j] - L[row][j-1], for j >= 1.
qsizetype stepAt(const Word *row, qsizetype j)
{
    return ((row[(j - 1) / 64] >> ((j - 1) % 64)) & 1) ? 0 : 1;
}

} // namespace

std::vector<LcsStep> lcsBacktrack(std::span<const int> original, std::span<const int> fixed,
                                  qsizetype rowBudgetBytes)
{
    std::vector<LcsStep> steps;
    steps.reserve(original.size() + fixed.size());
    qsizetype i = qsizetype(original.size());
    qsizetype j = qsizetype(fixed.size());

    // The backtrack starts at the end and always takes a match first, so a common suffix is
    // matched word for word and never needs the table.
    while (i > 0 && j > 0 && fixed[std::size_t(j - 1)] >= 0
           && original[std::size_t(i - 1)] == fixed[std::size_t(j - 1)]) {
        steps.push_back(LcsStep::Match);
        --i;
        --j;
    }

    if (i > 0 && j > 0) {
        const auto a = original.first(std::size_t(i));
        const auto b = fixed.first(std::size_t(j));
        const qsizetype words = (j + 63) / 64;
        MatchMasks masks(b, words);
        RowBlocks rows(a, masks, words, rowBudgetBytes);
        qsizetype here = valueAt(rows.row(i), j);
        qsizetype up = valueAt(rows.row(i) - words, j);
        while (i > 0 && j > 0) {
            const Word *current = rows.row(i);
            const Word *above = current - words;
            const qsizetype left = here - stepAt(current, j);
            const qsizetype diagonal = up - stepAt(above, j);
            bool rowChanged = true;
            if (b[std::size_t(j - 1)] >= 0 && a[std::size_t(i - 1)] == b[std::size_t(j - 1)]) {
                steps.push_back(LcsStep::Match);
                --i;
                --j;
                here = diagonal;
            } else if (diagonal >= up && diagonal >= left) {
                steps.push_back(LcsStep::Substitute);
                --i;
                --j;
                here = diagonal;
            } else if (left >= up) {
                steps.push_back(LcsStep::Insert);
                --j;
                here = left;
                up = diagonal;
                rowChanged = false;
            } else {
                steps.push_back(LcsStep::Delete);
                --i;
                here = up;
            }
            if (rowChanged && i > 0 && j > 0)
                up = valueAt(rows.row(i) - words, j);
        }
    }

    for (; i > 0; --i)
        steps.push_back(LcsStep::Delete);
    for (; j > 0; --j)
        steps.push_back(LcsStep::Insert);
    return steps;
}
