#include "today/CardCharacter.h"

#include "characters/SpriteImages.h"

#include <utility>

CardCharacter::CardCharacter(QString slot, QString id)
    : m_slot(std::move(slot))
    , m_id(std::move(id))
{
}

void CardCharacter::setTheme(const PixelTheme* theme)
{
    m_theme = theme;
    forget();
}

void CardCharacter::setId(const QString& id)
{
    m_id = id;
    forget();
}

void CardCharacter::setLively(bool isLively)
{
    m_isLively = isLively;
    forget();
}

void CardCharacter::forget()
{
    m_lastFrame.reset();
    m_lastRows.clear();
}

bool CardCharacter::draw(double seconds, qreal side, qreal pixelRatio)
{
    if (!m_theme)
        return false;
    if (side != m_side || m_image.devicePixelRatio() != pixelRatio)
        forget();
    const qint64 frame = m_theme->frameIndex(m_id, seconds, m_isLively);
    if (m_lastFrame == frame)
        return false;
    // Many frames show the same rows again.
    const QStringList rows = m_theme->characterRows(m_id, frame, m_isLively);
    m_side = side;
    if (std::exchange(m_lastFrame, frame) && rows == m_lastRows)
        return false;
    m_lastRows = rows;
    m_image = characterImage(*m_theme,
                             {
                                 .character = m_id,
                                 .frame = frame,
                                 .color = m_theme->characterColor(m_slot),
                                 .size = side,
                                 .pixelRatio = pixelRatio,
                                 .lively = m_isLively,
                             });
    return true;
}
