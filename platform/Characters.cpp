#include "platform/Characters.h"

#include <QTextBoundaryFinder>

QString firstCharacters(const QString& text, qsizetype count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype i = 0; i < count && end >= 0; ++i)
        end = finder.toNextBoundary();
    return end < 0 ? text : text.left(end);
}
