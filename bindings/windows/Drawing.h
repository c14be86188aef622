// bindings/windows/Drawing.h - what the progress windows draw themselves: the chart of scores and the bar.
//
// Both fill their rectangle completely, for a caller that draws into memory first.
#pragma once

#include <windows.h>

#include "ui/Windows.h"

namespace varnex3::windows {

/// A drawing surface in memory, copied to its target when it goes away: nothing flickers.
class Buffered {
public:
    Buffered(HDC target, const RECT& area);
    ~Buffered();
    Buffered(const Buffered&) = delete;
    Buffered& operator=(const Buffered&) = delete;

    HDC dc() const { return memory_; }

private:
    HDC target_, memory_;
    HBITMAP bitmap_;
    HGDIOBJ before_;
    RECT area_;
};

/// Round steps that divide 0..highest into about `wanted` parts.
struct Scale {
    double step, top; // top: the first multiple of step that is not below highest
};
Scale scaleFor(double highest, int wanted);

/// The scores of the last generations as four lines with axes, labels and legend.
/// @param dpi  dots per inch of the target
void drawChart(HDC dc, const RECT& area, HFONT font, int dpi, const alg_f_Status& model);

/// The share `fraction` of the width in dark blue.
void drawBar(HDC dc, const RECT& area, double fraction);

} // namespace varnex3::windows
