#pragma once
#include <QList>
#include <QString>
#include <QtGlobal>

/// One element of a word diff: an unchanged, added or removed word and the whitespace shown after it.
struct Change
{
    QString value;
    bool added = false;
    bool removed = false;
    QString trailingWhitespace;

    friend bool operator==(const Change &, const Change &) = default;
};

/// A computed word diff: the changes in reading order and the number of edits they make.
struct DiffComputation
{
    QList<Change> changes;
    qint64 editCount = 0;

    friend bool operator==(const DiffComputation &, const DiffComputation &) = default;
};
