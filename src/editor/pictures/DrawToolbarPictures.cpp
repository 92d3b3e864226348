// Draws the editor's toolbar pictures (24 x 23 pixels, transparent background) as PNG files
// named by their resource id. Run it again after changing a picture and commit the PNGs:
//
//   cmake --build <build> --target kvedit_draw_toolbar_pictures
//   <build>/src/editor/kvedit_draw_toolbar_pictures src/editor/pictures [preview.png]
//
// The optional preview is a sheet of every picture enlarged eight times and at its real size on
// a light and a dark background, to judge the pictures by eye.

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kWidth = 24;
constexpr int kHeight = 23;
constexpr double kPi = 3.14159265358979323846;

// One palette and one outline for every picture, so the toolbar reads as one set.
const QColor kOutline(0x33, 0x41, 0x4f);
const QColor kPaper(0xff, 0xff, 0xff);
const QColor kPaperShade(0xe4, 0xea, 0xf0);
const QColor kTextLine(0x8c, 0x9b, 0xab);
const QColor kBlue(0x3b, 0x7c, 0xc9);
const QColor kBlueDark(0x1f, 0x4e, 0x8c);
const QColor kBlueLight(0xcf, 0xe3, 0xf7);
const QColor kRed(0xd9, 0x36, 0x2b);
const QColor kRedDark(0x9e, 0x1f, 0x18);
const QColor kMetal(0xb9, 0xc3, 0xcd);
const QColor kMetalDark(0x6b, 0x77, 0x84);
const QColor kGold(0xf2, 0xb8, 0x22);
const QColor kGoldDark(0xb5, 0x7f, 0x0a);
const QColor kGreen(0x3c, 0x9e, 0x4a);
const QColor kGreenDark(0x23, 0x6b, 0x2e);
const QColor kWood(0xc0, 0x86, 0x45);
const QColor kWoodDark(0x7d, 0x52, 0x22);

QPen Stroke(const QColor &color, double width = 1.0)
{
    QPen pen(color, width);
    pen.setJoinStyle(Qt::MiterJoin);
    pen.setCapStyle(Qt::SquareCap);
    return pen;
}

QPen RoundStroke(const QColor &color, double width)
{
    QPen pen(color, width);
    pen.setJoinStyle(Qt::RoundJoin);
    pen.setCapStyle(Qt::RoundCap);
    return pen;
}

// A sheet of paper with a folded top-right corner, outlined on the pixel grid: left, top, right
// and bottom are the outline's pixel columns and rows.
void Sheet(QPainter &p, int left, int top, int right, int bottom, int lines, bool fold = true)
{
    const double l = left + 0.5, t = top + 0.5, r = right + 0.5, b = bottom + 0.5;
    const double f = fold ? 4.0 : 0.0;
    QPolygonF outline;
    outline << QPointF(l, t) << QPointF(r - f, t) << QPointF(r, t + f) << QPointF(r, b) << QPointF(l, b);
    p.setPen(Stroke(kOutline));
    p.setBrush(kPaper);
    p.drawPolygon(outline);
    if (fold) {
        QPolygonF corner;
        corner << QPointF(r - f, t) << QPointF(r - f, t + f) << QPointF(r, t + f);
        p.setBrush(kPaperShade);
        p.drawPolygon(corner);
    }
    p.setPen(Stroke(kTextLine));
    for (int i = 0; i < lines; ++i) {
        const int y = top + 4 + 3 * i;
        if (y >= bottom - 1)
            break;
        const int lineRight = (i % 2 == 1) ? right - 4 : right - 2;
        p.drawLine(QPointF(left + 2.5, y + 0.5), QPointF(lineRight - 0.5, y + 0.5));
    }
}

// A magnifying glass: lens centred at (cx, cy) with radius r, handle towards the lower right.
void Magnifier(QPainter &p, double cx, double cy, double r, const QColor &glass)
{
    const QPointF centre(cx, cy);
    const double d = r * 0.7071;
    p.setPen(RoundStroke(kOutline, 4.2));
    p.drawLine(centre + QPointF(d + 1.2, d + 1.2), centre + QPointF(d + 6.2, d + 6.2));
    p.setPen(RoundStroke(kWoodDark, 2.4));
    p.drawLine(centre + QPointF(d + 2.0, d + 2.0), centre + QPointF(d + 5.8, d + 5.8));
    p.setPen(QPen(kOutline, 2.0));
    p.setBrush(glass);
    p.drawEllipse(centre, r, r);
    // A glint on the glass.
    p.setPen(RoundStroke(QColor(255, 255, 255, 230), 1.3));
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(cx - r + 2.2, cy - r + 2.2, 2 * r - 4.4, 2 * r - 4.4), 100 * 16, 70 * 16);
}

void DrawSave(QPainter &p)
{
    // Floppy disk: blue body with a cut corner, metal shutter on top, white label below.
    QPolygonF body;
    body << QPointF(2.5, 1.5) << QPointF(18.5, 1.5) << QPointF(21.5, 4.5) << QPointF(21.5, 21.5) << QPointF(2.5, 21.5);
    p.setPen(Stroke(kBlueDark));
    p.setBrush(kBlue);
    p.drawPolygon(body);
    p.setPen(Stroke(kOutline));
    p.setBrush(kMetal);
    p.drawRect(QRectF(6.5, 1.5, 10, 7));
    p.fillRect(QRectF(13, 3, 2, 4), kOutline);
    p.setPen(Stroke(kOutline));
    p.setBrush(kPaper);
    p.drawRect(QRectF(5.5, 11.5, 13, 10));
    p.setPen(Stroke(kTextLine));
    p.drawLine(QPointF(7.5, 14.5), QPointF(16.5, 14.5));
    p.drawLine(QPointF(7.5, 17.5), QPointF(14.5, 17.5));
}

void DrawDelete(QPainter &p)
{
    // A bold red cross with a darker rim.
    const QPointF a(5.5, 4.5), b(18.5, 17.5), c(18.5, 4.5), d(5.5, 17.5);
    p.setPen(RoundStroke(kRedDark, 5.2));
    p.drawLine(a, b);
    p.drawLine(c, d);
    p.setPen(RoundStroke(kRed, 3.2));
    p.drawLine(a, b);
    p.drawLine(c, d);
}

void DrawCut(QPainter &p)
{
    // Open scissors, points up: two metal blades crossing at a pivot, red finger rings below.
    const QPointF pivot(12.0, 10.0);
    const auto blade = [&](const QPointF &tip, const QPointF &root) {
        QPolygonF shape;
        const QPointF dir = tip - root;
        const QPointF normal(-dir.y() / 14.0, dir.x() / 14.0);
        shape << root + normal * 2.2 << tip << root - normal * 2.2;
        p.setPen(RoundStroke(kOutline, 1.0));
        p.setBrush(kMetal);
        p.drawPolygon(shape);
    };
    blade(QPointF(17.5, 1.5), QPointF(9.0, 14.5));
    blade(QPointF(6.5, 1.5), QPointF(15.0, 14.5));
    p.setBrush(kOutline);
    p.setPen(Qt::NoPen);
    p.drawEllipse(pivot, 1.1, 1.1);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(kRedDark, 3.0));
    p.drawEllipse(QPointF(7.0, 17.5), 3.2, 3.2);
    p.drawEllipse(QPointF(17.0, 17.5), 3.2, 3.2);
    p.setPen(QPen(kRed, 1.6));
    p.drawEllipse(QPointF(7.0, 17.5), 3.2, 3.2);
    p.drawEllipse(QPointF(17.0, 17.5), 3.2, 3.2);
}

void DrawCopy(QPainter &p)
{
    // Two sheets, the second laid over the first.
    Sheet(p, 2, 1, 14, 16, 4);
    Sheet(p, 8, 6, 21, 21, 4);
}

void DrawPaste(QPainter &p)
{
    // A clipboard with a metal clip and a sheet laid on it.
    p.setPen(Stroke(kWoodDark));
    p.setBrush(kWood);
    p.drawRoundedRect(QRectF(2.5, 3.5, 15, 18), 1.5, 1.5);
    p.setPen(Stroke(kOutline));
    p.setBrush(kMetal);
    p.drawRoundedRect(QRectF(6.5, 1.5, 7, 4), 1.0, 1.0);
    p.fillRect(QRectF(8, 3, 4, 1), kMetalDark);
    Sheet(p, 9, 8, 21, 21, 4);
}

void DrawFind(QPainter &p)
{
    Magnifier(p, 9.5, 9.0, 6.5, kBlueLight);
}

void DrawGoTo(QPainter &p)
{
    // A list of lines with one marked, and an arrow pointing at the marked line.
    p.setPen(Stroke(kOutline));
    p.setBrush(kPaper);
    p.drawRect(QRectF(9.5, 1.5, 12, 20));
    p.setPen(Stroke(kTextLine));
    for (int y : {4, 7, 16, 19})
        p.drawLine(QPointF(11.5, y + 0.5), QPointF(19.5, y + 0.5));
    p.setPen(Qt::NoPen);
    p.setBrush(kBlue);
    p.drawRect(QRectF(10, 10, 11, 3));
    // Arrow: shaft and head, outlined so it stands out against both backgrounds.
    QPolygonF arrow;
    arrow << QPointF(1.5, 9.5) << QPointF(5.5, 9.5) << QPointF(5.5, 6.5) << QPointF(10.5, 11.5)
          << QPointF(5.5, 16.5) << QPointF(5.5, 13.5) << QPointF(1.5, 13.5);
    p.setPen(Stroke(kGreenDark));
    p.setBrush(kGreen);
    p.drawPolygon(arrow);
}

void DrawFindMissing(QPainter &p)
{
    // The magnifier of Find with a red question mark in the lens.
    Magnifier(p, 9.5, 9.0, 6.5, kPaper);
    QPainterPath mark;
    mark.moveTo(7.3, 7.2);
    mark.cubicTo(7.3, 4.6, 11.9, 4.6, 11.9, 7.0);
    mark.cubicTo(11.9, 8.6, 9.6, 8.7, 9.6, 10.6);
    p.setPen(RoundStroke(kRed, 1.9));
    p.setBrush(Qt::NoBrush);
    p.drawPath(mark);
    p.setPen(Qt::NoPen);
    p.setBrush(kRed);
    p.drawEllipse(QPointF(9.6, 13.0), 1.15, 1.15);
}

void Star(QPainter &p, const QPointF &centre, double outer, double inner)
{
    QPolygonF star;
    for (int i = 0; i < 10; ++i) {
        const double angle = -kPi / 2 + i * kPi / 5;
        const double radius = (i % 2 == 0) ? outer : inner;
        star << centre + QPointF(radius * std::cos(angle), radius * std::sin(angle));
    }
    p.setPen(QPen(kGoldDark, 1.0));
    p.setBrush(kGold);
    p.drawPolygon(star);
}

void DrawNewString(QPainter &p)
{
    // A fresh sheet with a star at its corner.
    Sheet(p, 3, 4, 16, 21, 5, false);
    Star(p, QPointF(17.5, 6.5), 5.9, 2.5);
}

void DrawProperties(QPainter &p)
{
    // A sheet with a pencil laid across it.
    Sheet(p, 2, 1, 14, 20, 5);
    p.save();
    p.translate(15.0, 12.5);
    p.rotate(-45.0);
    // In the rotated frame the pencil runs along x: tip at -9 (lower left), eraser at +9.
    QPolygonF tip;
    tip << QPointF(-5.0, -2.5) << QPointF(-9.5, 0.0) << QPointF(-5.0, 2.5);
    p.setPen(RoundStroke(kOutline, 1.0));
    p.setBrush(QColor(0xf3, 0xd9, 0xb1));
    p.drawPolygon(tip);
    p.setBrush(kOutline);
    p.setPen(Qt::NoPen);
    p.drawPolygon(QPolygonF() << QPointF(-8.0, -0.8) << QPointF(-9.6, 0.0) << QPointF(-8.0, 0.8));
    p.setPen(RoundStroke(kOutline, 1.0));
    p.setBrush(kGold);
    p.drawRect(QRectF(-5.0, -2.5, 10.0, 5.0));
    p.setBrush(kMetal);
    p.drawRect(QRectF(5.0, -2.5, 1.6, 5.0));
    p.setBrush(QColor(0xe8, 0x7a, 0x8a));
    p.drawRoundedRect(QRectF(6.6, -2.5, 2.6, 5.0), 1.0, 1.0);
    p.setPen(QPen(kGoldDark, 0.8));
    p.drawLine(QPointF(-5.0, 0.0), QPointF(5.0, 0.0));
    p.restore();
}

struct Picture {
    int id;
    const char *what;
    std::function<void(QPainter &)> draw;
};

QImage Render(const Picture &picture)
{
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing, true);
    picture.draw(p);
    p.end();
    return image;
}

QImage Preview(const std::vector<QImage> &images)
{
    constexpr int scale = 8;
    constexpr int gap = 8;
    constexpr int perRow = 5;
    const int cellW = kWidth * scale + gap;
    const int cellH = kHeight * scale + 2 * gap + 2 * (kHeight + gap) + 8;
    const int rows = (static_cast<int>(images.size()) + perRow - 1) / perRow;
    const int width = perRow * cellW + gap;
    const int height = rows * cellH + gap;
    QImage sheet(width, height, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(QColor(0xf0, 0xf0, 0xf0));
    QPainter p(&sheet);
    for (size_t i = 0; i < images.size(); ++i) {
        const int x = gap + static_cast<int>(i) % perRow * cellW;
        const int top = static_cast<int>(i) / perRow * cellH;
        // Checkerboard under the enlargement shows the transparent pixels.
        for (int py = 0; py < kHeight; ++py)
            for (int px = 0; px < kWidth; ++px)
                p.fillRect(x + px * scale, top + gap + py * scale, scale, scale,
                           ((px + py) % 2) ? QColor(0xdd, 0xdd, 0xdd) : QColor(0xfa, 0xfa, 0xfa));
        p.drawImage(QRect(x, top + gap, kWidth * scale, kHeight * scale), images[i]);
        const int y1 = top + gap + kHeight * scale + gap;
        p.drawImage(QPoint(x, y1), images[i]);
        p.fillRect(x, y1 + kHeight + gap, kWidth + 8, kHeight + 8, QColor(0x30, 0x30, 0x30));
        p.drawImage(QPoint(x + 4, y1 + kHeight + gap + 4), images[i]);
    }
    p.end();
    return sheet;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_FOLDER [PREVIEW.png]\n", argv[0]);
        return 2;
    }
    const QDir out(args.at(1));
    if (!out.exists() && !QDir().mkpath(out.path())) {
        std::fprintf(stderr, "cannot create %s\n", qPrintable(out.path()));
        return 1;
    }

    const std::vector<Picture> pictures = {
        {10, "Save", DrawSave},
        {11, "Delete", DrawDelete},
        {12, "Cut", DrawCut},
        {13, "Copy", DrawCopy},
        {14, "Paste", DrawPaste},
        {15, "Find", DrawFind},
        {16, "Go to", DrawGoTo},
        {17, "Find Missing Translation", DrawFindMissing},
        {18, "New String", DrawNewString},
        {19, "Properties", DrawProperties},
    };
    std::vector<QImage> images;
    for (const Picture &picture : pictures) {
        const QImage image = Render(picture);
        const QString file = out.filePath(QStringLiteral("%1.png").arg(picture.id));
        if (!image.save(file, "PNG")) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
            return 1;
        }
        std::printf("%s: %s\n", qPrintable(file), picture.what);
        images.push_back(image);
    }
    if (args.size() > 2 && !Preview(images).save(args.at(2), "PNG")) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(args.at(2)));
        return 1;
    }
    return 0;
}
