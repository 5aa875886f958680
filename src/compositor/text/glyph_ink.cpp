#include "compositor/text/glyph_ink.h"

#include <algorithm>
#include <cstring>

namespace nimbara {

namespace {

/// Above this size the painter fills outlines instead of using its glyph cache. It fills a text as
/// one path, at a cost that grows with the square of a line's length; glyph by glyph the same
/// pixels come several times faster.
constexpr double outlineSize = 64;

bool hasTable(const QRawFont &font, const char *tag)
{
    return !font.fontTable(tag).isEmpty();
}

/// The small tables that colour fonts of each kind have. "sbix" is the one that is as large as the
/// pictures in it, and asked for last.
bool hasColourTables(const QRawFont &font)
{
    return hasTable(font, "CBLC") || hasTable(font, "COLR") || hasTable(font, "SVG ")
        || font.familyName().contains(QLatin1String("Emoji")) || hasTable(font, "sbix");
}

void addSmall(Coverage &coverage, const QGlyphRun &run, QPointF offset)
{
    QImage ink(coverage.rect().size(), QImage::Format_ARGB32_Premultiplied);
    ink.fill(Qt::transparent);
    QPainter painter(&ink);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.translate(-coverage.rect().topLeft());
    painter.setPen(Qt::white);
    painter.drawGlyphRun(offset, run);
    painter.end();
    coverage.add(ink, coverage.rect());
}

} // namespace

void GlyphInk::add(Coverage &coverage, const QGlyphRun &run, QPointF offset)
{
    if (coverage.rect().isEmpty()) {
        return;
    }
    if (run.rawFont().pixelSize() <= outlineSize) {
        addSmall(coverage, run, offset);
    } else {
        addOutlines(coverage, run, offset);
    }
}

void GlyphInk::addOutlines(Coverage &coverage, const QGlyphRun &run, QPointF offset)
{
    const QRawFont font = run.rawFont();
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    QPainter painter;
    startScratch(painter, QSize(128, 128));
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const Outline &glyph = outline(font, glyphs[i]);
        const QPointF place = positions[i] + offset;
        const QRect rect = glyph.bounds.translated(place).toAlignedRect().adjusted(-1, -1, 1, 1);
        if (glyph.bounds.isEmpty() || !rect.intersects(coverage.rect())) {
            continue;
        }
        startScratch(painter, rect.size());
        for (int y = 0; y < rect.height(); ++y) {
            std::memset(m_scratch.scanLine(y), 0, static_cast<std::size_t>(rect.width()) * 4);
        }
        painter.setTransform(QTransform::fromTranslate(place.x() - rect.x(), place.y() - rect.y()));
        painter.fillPath(glyph.path, Qt::white);
        coverage.add(m_scratch, rect);
    }
}

void GlyphInk::startScratch(QPainter &painter, const QSize &size)
{
    const QSize room = m_scratch.size().expandedTo(size);
    if (painter.isActive() && room == m_scratch.size()) {
        return;
    }
    if (painter.isActive()) {
        painter.end();
    }
    if (room != m_scratch.size()) {
        m_scratch = QImage(room, QImage::Format_ARGB32_Premultiplied);
    }
    painter.begin(&m_scratch);
    painter.setRenderHint(QPainter::Antialiasing);
}

GlyphInk::FontEntry &GlyphInk::entry(const QRawFont &font)
{
    auto found = m_fonts.find(font);
    if (found == m_fonts.end()) {
        if (m_fonts.size() >= maxFonts) {
            m_fonts.clear();
            m_count = 0;
        }
        found = m_fonts.insert(font, { hasColourTables(font), {} });
    }
    return *found;
}

const GlyphInk::Outline &GlyphInk::outline(const QRawFont &font, quint32 glyph)
{
    if (m_count >= maxOutlines) {
        m_fonts.clear();
        m_count = 0;
    }
    auto &outlines = entry(font).outlines;
    auto found = outlines.find(glyph);
    if (found == outlines.end()) {
        QPainterPath path = font.pathForGlyph(glyph);
        path.setFillRule(Qt::WindingFill);
        const QRectF bounds = path.controlPointRect();
        found = outlines.insert(glyph, { path, bounds });
        ++m_count;
    }
    return *found;
}

bool GlyphInk::isColoured(const QRawFont &font)
{
    return entry(font).coloured;
}

} // namespace nimbara
