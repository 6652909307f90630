// A view of a log, and what can be seen of it.
#pragma once

#include "meter/log_text.h"
#include "support/test_parts.h"

#include <QScrollBar>
#include <QTextBlock>

#include <memory>

inline std::unique_ptr<QPlainTextEdit> make_view(int max_blocks)
{
    auto view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    view->document()->setMaximumBlockCount(max_blocks);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->resize(300, 150);
    view->show();
    return view;
}

inline QString colour_of(const QTextFormat &format)
{
    return format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name()
                                                            : QString("plain");
}

// Everything that can be seen of a document: per block its own colour, then its pieces.
inline QStringList describe(const QTextDocument *document)
{
    QStringList result;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        QString line = "[" + colour_of(block.charFormat()) + "]";
        for (auto part = block.begin(); !part.atEnd(); ++part)
            line += " " + colour_of(part.fragment().charFormat()) + ":" + part.fragment().text();
        result += line;
    }
    return result;
}

inline bool follows_end(const QPlainTextEdit *view)
{
    return view->verticalScrollBar()->value() == view->verticalScrollBar()->maximum();
}
