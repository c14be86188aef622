// bindings/windows/Drawing.cpp - the chart and the bar, by GDI.
#include "bindings/windows/Drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "bindings/windows/Wide.h"
#include "runtime/Elementary.h"

namespace varnex3::windows {
namespace {

constexpr std::size_t kSeries = 4;
const wchar_t* const kNames[kSeries] = {L"Constraint Violation", L"Priority 1 Goals", L"Priority 2 Goals",
                                        L"Priority 3 Goals"};
// Told apart by eyes that see few colours too; every series has a shape of its own.
constexpr COLORREF kColours[kSeries] = {RGB(213, 94, 0), RGB(0, 114, 178), RGB(0, 158, 115),
                                        RGB(170, 80, 150)};
constexpr COLORREF kGrid = RGB(225, 225, 225), kAxis = RGB(110, 110, 110), kText = RGB(60, 60, 60);
constexpr int kFine = 4; // lines are drawn this much larger and averaged down, which smooths their edges

SIZE extent(HDC dc, const std::wstring& text)
{
    SIZE size{};
    GetTextExtentPoint32W(dc, text.data(), static_cast<int>(text.size()), &size);
    return size;
}

void write(HDC dc, int x, int y, UINT alignment, const std::wstring& text)
{
    SetTextAlign(dc, alignment);
    TextOutW(dc, x, y, text.data(), static_cast<int>(text.size()));
}

void fill(HDC dc, const RECT& area, COLORREF colour)
{
    const HBRUSH brush = CreateSolidBrush(colour);
    FillRect(dc, &area, brush);
    DeleteObject(brush);
}

/// A pen and a brush of one colour while it lives.
class Ink {
public:
    Ink(HDC dc, COLORREF colour, int width)
        : dc_(dc), pen_(CreatePen(PS_SOLID, width, colour)), brush_(CreateSolidBrush(colour)),
          penBefore_(SelectObject(dc, pen_)), brushBefore_(SelectObject(dc, brush_))
    {}
    ~Ink()
    {
        SelectObject(dc_, penBefore_);
        SelectObject(dc_, brushBefore_);
        DeleteObject(pen_);
        DeleteObject(brush_);
    }
    Ink(const Ink&) = delete;
    Ink& operator=(const Ink&) = delete;

private:
    HDC dc_;
    HPEN pen_;
    HBRUSH brush_;
    HGDIOBJ penBefore_, brushBefore_;
};

void line(HDC dc, int x1, int y1, int x2, int y2)
{
    MoveToEx(dc, x1, y1, nullptr);
    LineTo(dc, x2, y2);
}

void mark(HDC dc, std::size_t series, const POINT& at, int r)
{
    const int x = static_cast<int>(at.x), y = static_cast<int>(at.y);
    if (series == 0) {
        const POINT triangle[] = {
            {x, y - r - r / 4}, {x + r + r / 8, y + r - r / 8}, {x - r - r / 8, y + r - r / 8}};
        Polygon(dc, triangle, 3);
    } else if (series == 1) {
        Ellipse(dc, x - r, y - r, x + r + 1, y + r + 1);
    } else if (series == 2) {
        const int half = r - r / 6;
        Rectangle(dc, x - half, y - half, x + half + 1, y + half + 1);
    } else {
        const POINT diamond[] = {
            {x, y - r - r / 4}, {x + r + r / 4, y}, {x, y + r + r / 4}, {x - r - r / 4, y}};
        Polygon(dc, diamond, 4);
    }
}

struct Curve {
    std::vector<POINT> points;
    std::size_t series = 0;
    bool sample = false; // of the legend: marked in its middle only
};

/// Draws the curves kFine times as large over a copy of what is there, and averages them down.
void drawSmooth(HDC dc, const RECT& area, int dpi, const std::vector<Curve>& curves)
{
    const int width = static_cast<int>(area.right - area.left),
              height = static_cast<int>(area.bottom - area.top);
    if (width <= 0 || height <= 0) return;
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width * kFine;
    info.bmiHeader.biHeight = -height * kFine;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const HDC fine = CreateCompatibleDC(dc);
    const HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bitmap) {
        DeleteDC(fine);
        return;
    }
    const HGDIOBJ before = SelectObject(fine, bitmap);
    SetStretchBltMode(fine, COLORONCOLOR);
    StretchBlt(fine, 0, 0, width * kFine, height * kFine, dc, static_cast<int>(area.left),
               static_cast<int>(area.top), width, height, SRCCOPY);
    for (const Curve& curve : curves) {
        std::vector<POINT> points = curve.points;
        for (POINT& p : points)
            p = {(p.x - area.left) * kFine + kFine / 2, (p.y - area.top) * kFine + kFine / 2};
        const Ink ink(fine, kColours[curve.series], MulDiv(kFine * 7, dpi, 96 * 4));
        if (points.size() > 1) Polyline(fine, points.data(), static_cast<int>(points.size()));
        const Ink shape(fine, kColours[curve.series], 1);
        const std::size_t first = curve.sample ? points.size() / 2 : 0,
                          step = curve.sample ? points.size() : 1;
        for (std::size_t i = first; i < points.size(); i += step)
            mark(fine, curve.series, points[i], MulDiv(kFine * 7, dpi, 96 * 2));
    }
    GdiFlush();
    auto* pixels = static_cast<std::uint8_t*>(bits);
    const std::size_t stride = static_cast<std::size_t>(width) * kFine * 4;
    for (int y = 0; y < height; ++y) // each block of kFine x kFine becomes its first pixel, rows packed
        for (int x = 0; x < width; ++x)
            for (std::size_t channel = 0; channel < 3; ++channel) {
                unsigned total = 0;
                for (std::size_t v = 0; v < kFine; ++v)
                    for (std::size_t u = 0; u < kFine; ++u)
                        total += pixels[(static_cast<std::size_t>(y) * kFine + v) * stride +
                                        (static_cast<std::size_t>(x) * kFine + u) * 4 + channel];
                pixels[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * 4 + channel] =
                    static_cast<std::uint8_t>(total / (kFine * kFine));
            }
    BitBlt(dc, static_cast<int>(area.left), static_cast<int>(area.top), width, height, fine, 0, 0, SRCCOPY);
    SelectObject(fine, before);
    DeleteObject(bitmap);
    DeleteDC(fine);
}

/// Names with their marks, centred in one row, or two when the width is short.
void drawLegend(HDC dc, const RECT& area, int dpi, std::vector<Curve>& curves)
{
    const int gap = MulDiv(18, dpi, 96), sample = MulDiv(26, dpi, 96), space = MulDiv(7, dpi, 96);
    std::array<int, kSeries> widths{};
    int total = 0;
    for (std::size_t s = 0; s < kSeries; ++s) {
        widths[s] = sample + space + static_cast<int>(extent(dc, kNames[s]).cx);
        total += widths[s] + gap;
    }
    const int height = static_cast<int>(extent(dc, L"X").cy), room = static_cast<int>(area.right - area.left);
    const bool twoRows = total - gap > room;
    const std::size_t perRow = twoRows ? 2 : kSeries;
    const int column = std::max(widths[0], widths[2]) + gap; // of two rows
    const int used = twoRows ? column + std::max(widths[1], widths[3]) : total - gap;
    const int left = static_cast<int>(area.left) + std::max(0, (room - used) / 2);
    int x = left, y = static_cast<int>(area.top);
    for (std::size_t s = 0; s < kSeries; ++s) {
        if (s > 0 && s % perRow == 0) {
            x = left;
            y += height;
        }
        const LONG middle = y + height / 2;
        curves.push_back({{{x, middle}, {x + sample / 2, middle}, {x + sample, middle}}, s, true});
        write(dc, x + sample + space, y, TA_LEFT, kNames[s]);
        x += twoRows ? column : widths[s] + gap;
    }
}

} // namespace

Buffered::Buffered(HDC target, const RECT& area)
    : target_(target), memory_(CreateCompatibleDC(target)),
      bitmap_(CreateCompatibleBitmap(target, static_cast<int>(area.right - area.left),
                                     static_cast<int>(area.bottom - area.top))),
      before_(SelectObject(memory_, bitmap_)), area_(area)
{
    SetViewportOrgEx(memory_, -static_cast<int>(area.left), -static_cast<int>(area.top), nullptr);
}

Buffered::~Buffered()
{
    BitBlt(target_, static_cast<int>(area_.left), static_cast<int>(area_.top),
           static_cast<int>(area_.right - area_.left), static_cast<int>(area_.bottom - area_.top), memory_,
           static_cast<int>(area_.left), static_cast<int>(area_.top), SRCCOPY);
    SelectObject(memory_, before_);
    DeleteObject(bitmap_);
    DeleteDC(memory_);
}

Scale scaleFor(double highest, int wanted)
{
    if (!(highest > 0.0)) return {1.0 / wanted, 1.0};
    highest = std::min(highest, 1e300);
    const double rough = std::max(highest / wanted, 1e-300);
    double power = elementary::pow(10.0, std::floor(elementary::log(rough) / elementary::log(10.0)));
    double step = 10.0 * power;
    for (const double factor : {1.0, 2.0, 2.5, 5.0})
        if (factor * power >= rough * 0.999999) {
            step = factor * power;
            break;
        }
    return {step, step * std::max(1.0, std::ceil(highest / step * 0.999999999))};
}

void drawChart(HDC dc, const RECT& area, HFONT font, int dpi, const alg_f_Status& model)
{
    const HGDIOBJ fontBefore = SelectObject(dc, font);
    fill(dc, area, RGB(255, 255, 255));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kText);
    const int unit = MulDiv(1, dpi, 96), text = static_cast<int>(extent(dc, L"X").cy);
    double highest = 0.0;
    for (const auto& row : model.chart)
        for (const double v : row.values)
            if (std::isfinite(v)) highest = std::max(highest, v);

    // from the outside in: legend, axis title, labels
    RECT plot = area;
    InflateRect(&plot, -12 * unit, -10 * unit);
    RECT legend = plot;
    const int legendRows = plot.right - plot.left < 560 * unit ? 2 : 1;
    legend.top = legend.bottom - legendRows * text;
    const int titleTop = static_cast<int>(legend.top) - text - 6 * unit;
    plot.bottom = titleTop - text - 7 * unit;
    const int parts = std::clamp(static_cast<int>(plot.bottom - plot.top) / (3 * text), 2, 6);
    const Scale scale = scaleFor(highest, parts);
    int labels = 0;
    for (double v = 0.0; v <= scale.top * 1.0000001; v += scale.step)
        labels = std::max(labels, static_cast<int>(extent(dc, wide(alg_f_Status::FormatValue(v))).cx));
    plot.left += labels + 8 * unit;
    plot.top += text / 2;
    plot.right -= 8 * unit;

    const double height = static_cast<double>(plot.bottom - plot.top);
    auto yOf = [&](double v) {
        return plot.bottom - static_cast<LONG>(std::clamp(v / scale.top, 0.0, 1.0) * height + 0.5);
    };
    const long lines = std::lround(scale.top / scale.step);
    for (long i = 0; i <= lines; ++i) {
        const double v = scale.step * static_cast<double>(i);
        const int y = static_cast<int>(yOf(v));
        const Ink ink(dc, i == 0 ? kAxis : kGrid, 1);
        line(dc, static_cast<int>(plot.left), y, static_cast<int>(plot.right) + 8 * unit, y);
        write(dc, static_cast<int>(plot.left) - 7 * unit, y - text / 2, TA_RIGHT,
              wide(alg_f_Status::FormatValue(v)));
    }

    // ten places whatever the number of generations, so that points stay where they are until the chart is
    // full
    constexpr int kPlaces = 10;
    const double place = static_cast<double>(plot.right - plot.left) / kPlaces;
    std::vector<Curve> curves(kSeries);
    const Ink ink(dc, kAxis, 1);
    for (std::size_t i = 0; i < model.chart.size(); ++i) {
        const auto& row = model.chart[i];
        if (row.label.empty()) continue; // nothing reported yet
        const auto x = plot.left + static_cast<LONG>((static_cast<double>(i) + 0.5) * place);
        line(dc, static_cast<int>(x), static_cast<int>(plot.bottom), static_cast<int>(x),
             static_cast<int>(plot.bottom) + 4 * unit);
        write(dc, static_cast<int>(x), static_cast<int>(plot.bottom) + 5 * unit, TA_CENTER, wide(row.label));
        for (std::size_t s = 0; s < kSeries; ++s) curves[s].points.push_back({x, yOf(row.values[s])});
    }
    for (std::size_t s = 0; s < kSeries; ++s) curves[s].series = s;
    std::reverse(curves.begin(), curves.end()); // the most important one is drawn last, on top
    write(dc, static_cast<int>(plot.left + plot.right) / 2, titleTop, TA_CENTER, L"Generation");
    drawLegend(dc, legend, dpi, curves);
    drawSmooth(dc, area, dpi, curves);
    SelectObject(dc, fontBefore);
}

void drawBar(HDC dc, const RECT& area, double fraction)
{
    fill(dc, area, RGB(255, 255, 255));
    RECT done = area;
    done.right =
        done.left +
        static_cast<LONG>(static_cast<double>(done.right - done.left) * std::clamp(fraction, 0.0, 1.0) + 0.5);
    if (done.right > done.left) fill(dc, done, RGB(0, 0, 128));
}

} // namespace varnex3::windows
