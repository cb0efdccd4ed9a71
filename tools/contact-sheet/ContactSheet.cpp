// contact-sheet RESOURCES FOLDER [PER-PAGE]
//
// Draws every character below RESOURCES with the program's own painting code into FOLDER: pages of
// PER-PAGE characters (12 when it is left out), and "characters.png" with all of them at a glance.
// Needs no display.

#include "characters/CharacterCatalog.h"
#include "characters/CustomCharacterLibrary.h"
#include "characters/PixelColor.h"
#include "characters/SpriteImages.h"
#include "characters/SpritePainter.h"

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>

#include <cmath>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QColor light(0xEF, 0xF0, 0xF1);
const QColor dark(0x2A, 0x2E, 0x32);

constexpr int columns = 3; // of a page
constexpr int largeSide = 96;
constexpr int traySide = 22;
constexpr int doubleSide = 44;
constexpr int loopSide = 36;
constexpr int loopPictures = 14;
constexpr int gap = 4;
constexpr int titleHeight = 18;
constexpr int stripWidth = loopPictures * (loopSide + gap) + gap;
constexpr int stripHeight = titleHeight + largeSide + doubleSide + loopSide + 4 * gap;

/// Puts pictures side by side, each on a ground of its own.
class Row {
public:
    Row(QPainter& painter, int top)
        : m_painter(painter)
        , m_top(top)
    {
    }

    void add(const QImage& image, const QColor& ground)
    {
        const QRect place(m_left, m_top, image.width(), image.height());
        m_painter.fillRect(place, ground);
        m_painter.drawImage(place.topLeft(), image);
        m_left += image.width() + gap;
    }

private:
    QPainter& m_painter;
    int m_top;
    int m_left = gap;
};

class Sheet {
public:
    explicit Sheet(const QString& resources)
        : m_library(QString(), resources)
        , m_theme(PixelTheme::fallback())
    {
        m_theme.id = u"original"_s; // whose calm characters breathe
        m_theme.findArt = [this](const QString& id) { return m_library.art(id); };
    }

    /// One character's strip with its top left corner at the painter's origin.
    void drawStrip(QPainter& painter, const QString& id) const
    {
        const auto file = m_library.character(id);
        painter.setPen(Qt::black);
        painter.drawText(gap, titleHeight - gap,
                         file ? u"%1 – %2 – %3"_s.arg(id, file->name, file->motion.value_or(u""_s))
                              : id + u" – missing"_s);
        if (!file)
            return;
        drawLarge(painter, id, titleHeight);
        drawSmall(painter, id, *file, titleHeight + largeSide + gap);
        drawLoop(painter, id, titleHeight + largeSide + doubleSide + 2 * gap);
    }

    /// The calm character at `side` pixels.
    [[nodiscard]] QImage picture(const QString& id, int side, qint64 phase = 0) const
    {
        return characterImage(m_theme, wanted(id, side, phase));
    }

private:
    static constexpr qint64 breath = 2; // a step at which calm characters show their second frame

    [[nodiscard]] CharacterPicture wanted(const QString& id, int side, qint64 phase,
                                          bool lively = false) const
    {
        return {.character = id,
                .frame = phase,
                .color = hex(m_theme.rawCharacter(id, false).color),
                .size = qreal(side),
                .lively = lively};
    }

    void drawLarge(QPainter& painter, const QString& id, int top) const
    {
        Row row(painter, top);
        for (const QColor& ground : {light, dark}) {
            row.add(picture(id, largeSide), ground);
            row.add(picture(id, largeSide, breath), ground);
        }
        row.add(lastFrame(id, largeSide), light);
    }

    /// The last of the calm frames, which most characters blink in.
    [[nodiscard]] QImage lastFrame(const QString& id, int side) const
    {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        const PixelFrame rows = m_theme.rawCharacter(id, false).frames.last();
        drawPixelRows(painter, rows, {0, 0}, qreal(side) / qreal(rows.size()),
                      hex(m_theme.rawCharacter(id, false).color), m_theme.characterPalette(id));
        return image;
    }

    void drawSmall(QPainter& painter, const QString& id, const CustomCharacterFile& file,
                   int top) const
    {
        Row row(painter, top);
        for (const QColor& ground : {light, dark}) {
            row.add(trayPicture(id, 0), ground);
            row.add(trayPicture(id, 1), ground);
        }
        QImage outline = trayPicture(id, 0);
        QPainter blackener(&outline);
        blackener.setCompositionMode(QPainter::CompositionMode_SourceIn);
        blackener.fillRect(outline.rect(), Qt::black);
        blackener.end();
        row.add(outline, light);
        for (const QColor& ground : {light, dark})
            row.add(picture(id, doubleSide), ground);
        for (const MascotState state : {MascotState::tired, MascotState::exhausted}) {
            const QColor& ground = state == MascotState::tired ? light : dark;
            const int pictures = file.tiredFrames ? 2 : 1;
            for (int frame = 0; frame < pictures; ++frame)
                row.add(lowLimitImage(m_theme, wanted(id, doubleSide, frame), state), ground);
        }
    }

    /// As the status bar shows it.
    [[nodiscard]] QImage trayPicture(const QString& id, qint64 frame) const
    {
        PixelTheme theme = m_theme;
        theme.choices.characters.insert(u"menu"_s, id);
        return menuImage(theme, frame, MascotState::idle);
    }

    void drawLoop(QPainter& painter, const QString& id, int top) const
    {
        const qsizetype length = m_library.art(id)->livelyFrames.size();
        if (length == 0)
            return;
        Row row(painter, top);
        for (int i = 0; i < loopPictures; ++i)
            row.add(characterImage(m_theme, wanted(id, loopSide, i * length / loopPictures, true)),
                    i % 2 == 0 ? light : dark);
    }

    CustomCharacterLibrary m_library;
    PixelTheme m_theme;
};

QImage page(const Sheet& sheet, const QStringList& ids)
{
    const int rows = int(std::ceil(double(ids.size()) / columns));
    QImage image(columns * stripWidth, rows * stripHeight, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font = painter.font();
    font.setPixelSize(13);
    painter.setFont(font);
    for (qsizetype i = 0; i < ids.size(); ++i) {
        painter.resetTransform();
        painter.translate(int(i) % columns * stripWidth, int(i) / columns * stripHeight);
        sheet.drawStrip(painter, ids[i]);
    }
    return image;
}

/// All characters, half of each row on light and half on dark ground.
QImage overview(const Sheet& sheet, const QStringList& ids)
{
    constexpr int side = 72; // three times the drawing
    constexpr int margin = 12;
    constexpr int cell = side + margin;
    constexpr int across = 15;
    const int rows = int(std::ceil(double(ids.size()) / across));
    QImage image(across * cell + margin, rows * cell + margin, QImage::Format_RGB32);
    image.fill(light);
    QPainter painter(&image);
    constexpr int lightColumns = 8;
    const int border = lightColumns * cell + margin / 2;
    painter.fillRect(border, 0, image.width() - border, image.height(), dark);
    for (int i = 0; i < int(ids.size()); ++i)
        painter.drawImage(margin + i % across * cell, margin + i / across * cell,
                          sheet.picture(ids[i], side));
    return image;
}

bool save(const QImage& image, const QString& path)
{
    if (image.save(path))
        return true;
    std::fprintf(stderr, "contact-sheet: cannot write %s\n", qPrintable(path));
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const int perPage = arguments.value(3, u"12"_s).toInt();
    if (arguments.size() < 3 || perPage < 1) {
        std::fprintf(stderr, "usage: contact-sheet RESOURCES FOLDER [PER-PAGE]\n");
        return 64;
    }
    const Sheet sheet(arguments[1]);
    const QDir folder(arguments[2]);
    const QStringList ids = CustomCharacterFile::builtInIDs();
    bool isGood
        = folder.mkpath(u"."_s) && save(overview(sheet, ids), folder.filePath(u"characters.png"_s));
    for (qsizetype first = 0; first < ids.size(); first += perPage) {
        const QString name = u"page-%1.png"_s.arg(first / perPage + 1);
        isGood = save(page(sheet, ids.mid(first, perPage)), folder.filePath(name)) && isGood;
    }
    return isGood ? 0 : 1;
}
