#include "characters/SpeechFont.h"

#include <QFontDatabase>
#include <QStringList>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

SpeechFont::SpeechFont(QString resources)
    : m_resources(std::move(resources))
{
}

const QString& SpeechFont::family() const
{
    if (!m_family) {
        const int id
            = QFontDatabase::addApplicationFont(m_resources + u"/Fonts/VT323-Regular.ttf"_s);
        m_family = QFontDatabase::applicationFontFamilies(id).value(0);
    }
    return *m_family;
}

QFont SpeechFont::font(double size) const
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (!family().isEmpty())
        font = QFont(family());
    font.setPixelSize(std::max(int(std::lround(size)), 1));
    return font;
}
