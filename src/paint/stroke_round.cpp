// The round pen's strokes as exact-area shapes: each segment is the convex hull of the
// discs at its two ends (a capsule whose ends may differ in size), rasterised once per
// row with the area each pixel has inside it, and handed to a span function of the mode.
//
// Index: outlines - coverage of a row - span functions - row refresh - the strokes.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "host/main_loop.h"
#include "paint/curve_split.h"
#include "paint/pens.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"
#include "ui/requests.h"

namespace nemu {

int PaintPointeLine(int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour, int32_t useBPen,
                    int32_t first, int32_t op0, int32_t op1);

double RoundPenRadius(int32_t size) {
    size = std::clamp(size, -255, 255);
    double r = CurrentStamp && CurrentStamp->Kind == 1 ? CurrentStamp->Radius : RoundPen.PenRadius;
    if (r <= 0) r = 0.6;
    if (size < 0)
        r = -size * r / 255;
    else
        r = r + (RoundPen.PenMaxSize - r) * size / 255;
    return r < 0.6 ? 0.6 : r;
}

// ---- Outlines -----------------------------------------------------------------------------------------

namespace {
struct Edge {
    double X0, Y0, X1, Y1; // Y0 < Y1
    double Dir;            // +1 downwards in the original polygon, -1 upwards
};
struct Outline {
    std::vector<Edge> Edges;
    double MinX = 1e300, MinY = 1e300, MaxX = -1e300, MaxY = -1e300;
};
struct Point {
    double X, Y;
};

void AddPolygon(Outline& o, const std::vector<Point>& pts) {
    for (size_t i = 0; i < pts.size(); ++i) {
        Point a = pts[i], b = pts[(i + 1) % pts.size()];
        o.MinX = std::min(o.MinX, a.X), o.MaxX = std::max(o.MaxX, a.X);
        o.MinY = std::min(o.MinY, a.Y), o.MaxY = std::max(o.MaxY, a.Y);
        if (a.Y == b.Y) continue;
        if (a.Y < b.Y)
            o.Edges.push_back({a.X, a.Y, b.X, b.Y, 1});
        else
            o.Edges.push_back({b.X, b.Y, a.X, a.Y, -1});
    }
}

// Segments for an arc of `angle` radians on radius r, keeping the chord within 1/64 pixel.
int ArcSegments(double r, double angle) {
    double step = std::sqrt(8 * (1.0 / 64) / std::max(r, 0.1));
    return std::clamp(int(std::ceil(angle / step)), 2, 1024);
}

// The chords cut a sliver off the arc; the inner points are pushed out just enough that
// the polygon keeps the arc's area, while the ends stay on the tangents.
void ArcPoints(std::vector<Point>& pts, Point c, double r, double from, double to) {
    int n = ArcSegments(r, to - from);
    double step = (to - from) / n;
    double out = step > 1e-9 ? r * std::sqrt(step / std::sin(step)) : r;
    for (int i = 0; i <= n; ++i) {
        double a = from + (to - from) * i / n, ri = (i == 0 || i == n) ? r : out;
        pts.push_back({c.X + ri * std::cos(a), c.Y + ri * std::sin(a)});
    }
}

void AddDisc(Outline& o, Point c, double r) {
    std::vector<Point> pts;
    ArcPoints(pts, c, r, 0, 2 * M_PI);
    pts.pop_back(); // the closing point repeats the first
    AddPolygon(o, pts);
}

// The hull of two discs: the far arc of each joined by the two outer tangents.
void AddHull(Outline& o, Point c0, double r0, Point c1, double r1) {
    double dx = c1.X - c0.X, dy = c1.Y - c0.Y, d = std::hypot(dx, dy);
    if (d + std::min(r0, r1) <= std::max(r0, r1) + 1e-9) {
        if (r0 >= r1)
            AddDisc(o, c0, r0);
        else
            AddDisc(o, c1, r1);
        return;
    }
    double base = std::atan2(dy, dx), spread = std::acos(std::clamp((r0 - r1) / d, -1.0, 1.0));
    std::vector<Point> pts;
    ArcPoints(pts, c1, r1, base - spread, base + spread);
    ArcPoints(pts, c0, r0, base + spread, base - spread + 2 * M_PI);
    AddPolygon(o, pts);
}

// ---- Coverage of a row ------------------------------------------------------------------------------------

// Adds the signed area that a segment inside one row (y from 0 to 1) contributes, in the
// running-sum form: after a prefix sum each cell holds the area of the row that lies to
// the right of the edges up to it. x is already relative to the row buffer, in 0..w.
void AccumulateInside(float* acc, double xa, double ya, double xb, double yb, double dir) {
    double d = (yb - ya) * dir;
    double x0 = std::min(xa, xb), x1 = std::max(xa, xb);
    double x0floor = std::floor(x0), x1ceil = std::ceil(x1);
    int i0 = int(x0floor), i1 = int(x1ceil);
    if (i1 <= i0 + 1) {
        double xmf = 0.5 * (xa + xb) - x0floor;
        acc[i0] += float(d - d * xmf);
        acc[i0 + 1] += float(d * xmf);
        return;
    }
    double s = 1 / (x1 - x0), x0f = x0 - x0floor, a0 = 0.5 * s * (1 - x0f) * (1 - x0f);
    double x1f = x1 - x1ceil + 1, am = 0.5 * s * x1f * x1f;
    acc[i0] += float(d * a0);
    if (i1 == i0 + 2) {
        acc[i0 + 1] += float(d * (1 - a0 - am));
    } else {
        double a1 = s * (1.5 - x0f);
        acc[i0 + 1] += float(d * (a1 - a0));
        for (int i = i0 + 2; i < i1 - 1; ++i) acc[i] += float(d * s);
        double a2 = a1 + (i1 - i0 - 3) * s;
        acc[i1 - 1] += float(d * (1 - a2 - am));
    }
    acc[i1] += float(d * am);
}

// Splits the segment where it leaves 0..w: the parts outside run along the border, so the
// running sum inside stays exact.
void Accumulate(float* acc, int w, double xa, double ya, double xb, double yb, double dir) {
    double cuts[4] = {0, 1, 1, 1};
    int n = 1;
    for (double border : {0.0, double(w)})
        if ((xa - border) * (xb - border) < 0) cuts[n++] = (border - xa) / (xb - xa);
    if (n == 3 && cuts[2] < cuts[1]) std::swap(cuts[1], cuts[2]); // at most two cuts
    cuts[n] = 1;
    for (int i = 0; i < n; ++i) {
        double t0 = cuts[i], t1 = cuts[i + 1];
        if (t1 <= t0) continue;
        double pa = std::clamp(xa + (xb - xa) * t0, 0.0, double(w)),
               pb = std::clamp(xa + (xb - xa) * t1, 0.0, double(w));
        AccumulateInside(acc, pa, ya + (yb - ya) * t0, pb, ya + (yb - ya) * t1, dir);
    }
}

// Fills cov[0..w) with the coverage (0..255) of row y over columns x0..x0+w.
void RowCoverage(const Outline& o, int32_t y, int32_t x0, int32_t w, float* acc, uint8_t* cov) {
    std::fill(acc, acc + w + 2, 0.0f);
    for (const Edge& e : o.Edges) {
        if (e.Y1 <= y || e.Y0 >= y + 1) continue;
        double ya = std::max(e.Y0, double(y)), yb = std::min(e.Y1, double(y + 1));
        double slope = (e.X1 - e.X0) / (e.Y1 - e.Y0);
        double xa = e.X0 + (ya - e.Y0) * slope - x0, xb = e.X0 + (yb - e.Y0) * slope - x0;
        Accumulate(acc, w, xa, ya - y, xb, yb - y, e.Dir);
    }
    float sum = 0;
    for (int32_t i = 0; i < w; ++i) {
        sum += acc[i];
        float v = std::min(1.0f, std::fabs(sum));
        cov[i] = uint8_t(v * 255 + 0.5f);
    }
}
} // namespace

// ---- Span functions
// ------------------------------------------------------------------------------------------

namespace {
enum class Rule : uint8_t { Keep, Threshold21, Above10, FullOnly };
struct SpanRow {
    MaskKernel On, Off; // null Off: no span with the switch off, the stroke is stepped
    Rule OnRule, OffRule;
    bool Picked; // the impress colour replaces the pen's
};
const SpanRow SpanRows[18] = {
    {SoftColorMask, HardColorMask, Rule::Keep, Rule::Threshold21, false}, // 0 color
    {SoftColorMask, HardColorMask, Rule::Keep, Rule::Threshold21, false}, // 1 stamp
    {SpareSoftMask, SpareHardMask, Rule::Keep, Rule::Threshold21, false}, // 2 merge
    {ColorizeMask, ColorizeMask, Rule::FullOnly, Rule::FullOnly, false},  // 3 colorize
    {},
    {},
    {},
    {},
    {},
    {},
    {},                                                                   // 4..10 are stepped
    {GrainMask, GrainMask, Rule::Keep, Rule::Threshold21, false},         // 11 grain
    {TintMask, TintMask, Rule::Keep, Rule::Threshold21, false},           // 12 tint
    {Soft4Mask, HardColorMask, Rule::Keep, Rule::Threshold21, true},      // 13 impress
    {SoftBehindMask, SoftBehindMask, Rule::Keep, Rule::Above10, false},   // 14 behind
    {SoftEraseMask, HardEraseMask, Rule::Keep, Rule::Threshold21, false}, // 15 erase
    {SoftReplaceMask, SoftReplaceMask, Rule::Keep, Rule::Above10, false}, // 16 replace
    {SoftPantoMask, nullptr, Rule::Keep, Rule::Keep, false},              // 17 panto
};
const SpanRow EraseRow = {SoftEraseMask, HardEraseMask, Rule::Keep, Rule::Threshold21, false};

void ApplyRule(Rule rule, uint8_t* cov, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        switch (rule) {
        case Rule::Keep:
            break;
        case Rule::Threshold21:
            cov[i] = cov[i] >= 21 ? 255 : 0;
            break;
        case Rule::Above10:
            cov[i] = cov[i] > 10 ? 255 : cov[i];
            break;
        case Rule::FullOnly:
            cov[i] = cov[i] == 255 ? 255 : 0;
            break;
        }
    }
}

// ---- Row refresh
// ---------------------------------------------------------------------------------------------

struct RowBox {
    int32_t X0 = 0, Y0 = 0, X1 = 0, Y1 = 0, Rows = 0;
};
RowBox Rows;
} // namespace

void FlushRows() {
    if (!Rows.Rows) return;
    Rows.Rows = 0;
    RefreshPageRect(Rows.X0, Rows.Y0, Rows.X1 - Rows.X0 + 1, Rows.Y1 - Rows.Y0 + 1);
}

void QueueRows(int32_t x, int32_t y, int32_t n) {
    if (n <= 0) return;
    if (Rows.Rows && (y < Rows.Y0 - 2 || y > Rows.Y1 + 2)) FlushRows();
    if (!Rows.Rows) {
        Rows = {x, y, x + n - 1, y, 0};
    } else {
        Rows.X0 = std::min(Rows.X0, x), Rows.X1 = std::max(Rows.X1, x + n - 1);
        Rows.Y0 = std::min(Rows.Y0, y), Rows.Y1 = std::max(Rows.Y1, y);
    }
    if (++Rows.Rows >= 32) FlushRows();
}

// ---- The strokes
// ---------------------------------------------------------------------------------------------

namespace {
const SpanRow* PickSpan(int32_t useBPen) {
    if (useBPen) return &EraseRow;
    if (DrawMode < 0 || DrawMode > 17) return nullptr;
    const SpanRow& row = SpanRows[DrawMode];
    if (!row.On || (!AntiAlias && !row.Off)) return nullptr;
    return &row;
}

// Paints the shape `add` less the shape `sub` (the disc a previous segment already
// painted) through the span row. Returns 0, or -1 when the row buffers cannot be had.
int FillShape(const Outline& add, const Outline* sub, const SpanRow& span, uint32_t colour) {
    Bitmap* page = Page;
    if (!page || add.Edges.empty()) return 0;
    int64_t x0 = std::max<int64_t>(0, int64_t(std::floor(std::max(add.MinX, -1e9))));
    int64_t x1 = std::min<int64_t>(page->Width, int64_t(std::ceil(std::min(add.MaxX, 1e9))));
    int64_t y0 = std::max<int64_t>(0, int64_t(std::floor(std::max(add.MinY, -1e9))));
    int64_t y1 = std::min<int64_t>(page->Height, int64_t(std::ceil(std::min(add.MaxY, 1e9))));
    if (x0 >= x1 || y0 >= y1) return 0;
    const int32_t w = int32_t(x1 - x0);
    // One buffer of the page's width plus slack: the sums, the coverage and the coverage taken away.
    float* acc = static_cast<float*>(std::malloc((size_t(page->Width) + 128) * sizeof(float)));
    uint8_t* cov = static_cast<uint8_t*>(std::malloc(size_t(page->Width) + 128));
    uint8_t* less = sub ? static_cast<uint8_t*>(std::malloc(size_t(page->Width) + 128)) : nullptr;
    if (!acc || !cov || (sub && !less)) {
        std::free(acc), std::free(cov), std::free(less);
        AlertMsg(1000);
        return -1;
    }
    const MaskKernel kernel = AntiAlias ? span.On : span.Off;
    const Rule rule = AntiAlias ? span.OnRule : span.OffRule;
    for (int32_t y = int32_t(y0); y < y1; ++y) {
        RowCoverage(add, y, int32_t(x0), w, acc, cov);
        if (sub) {
            RowCoverage(*sub, y, int32_t(x0), w, acc, less);
            for (int32_t i = 0; i < w; ++i) cov[i] = uint8_t(std::max(0, cov[i] - less[i]));
        }
        ApplyRule(rule, cov, w);
        int32_t a = 0, b = w;
        while (a < b && !cov[a]) ++a;
        while (b > a && !cov[b - 1]) --b;
        if (a == b) continue;
        kernel(cov + a, b - a, b - a, 1, page, int32_t(x0) + a, y, colour, 255);
        QueueRows(int32_t(x0) + a, y, b - a);
        AddDirtyAndMark(int32_t(x0) + a, y, int32_t(x0) + b - 1, y);
    }
    FlushRows();
    std::free(acc), std::free(cov), std::free(less);
    return 0;
}

// Centre of the disc whose stamp has its top left at this 16.16 position.
Point DiscCentre(int32_t fx, int32_t fy) {
    const Stamp* s = CurrentStamp;
    return {fx / 65536.0 + s->HandleX + 0.5, fy / 65536.0 + s->HandleY + 0.5};
}

uint32_t SpanColour(const SpanRow& span, uint32_t colour, int32_t useBPen, int32_t fx, int32_t fy) {
    if (span.Picked) return ImpressColour(CurrentStamp, fx >> 16, fy >> 16);
    return useBPen ? colour : RangeColour(255, colour);
}
} // namespace

int PaintRoundStroke(int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour, int32_t useBPen,
                     int32_t first, int32_t size0, int32_t size1, int32_t op0, int32_t op1) {
    if (Pen == PenPointe) {
        if (!AntiAlias) return 1;
        return PaintPointeLine(fx0, fy0, fx1, fy1, colour, useBPen, first, op0, op1);
    }
    const Stamp* s = CurrentStamp;
    if (!s || s->Kind != 1) return 1;
    if (!AntiAlias && ((size0 == 0 && size1 == 0) || (size0 == -255 && size1 == -255))) return 1;
    const SpanRow* span = PickSpan(useBPen);
    if (!span) return -1;
    const double r0 = RoundPenRadius(size0), r1 = RoundPenRadius(size1);
    const Point c0 = DiscCentre(fx0, fy0), c1 = DiscCentre(fx1, fy1);
    Outline shape, start;
    if ((fx0 >> 16) == (fx1 >> 16) && (fy0 >> 16) == (fy1 >> 16))
        AddDisc(shape, c1, r1);
    else
        AddHull(shape, c0, r0, c1, r1);
    if (!first) AddDisc(start, c0, r0);
    return FillShape(shape, first ? nullptr : &start, *span, SpanColour(*span, colour, useBPen, fx0, fy0));
}

namespace {
struct RoundPiece {
    int64_t P[6];
    double R[3];
    int32_t Op[3];
};

template <class F> void FlattenRound(const RoundPiece& c, int depth, F& piece) {
    if (depth >= MaxCurveSplitDepth || CurveFlatEnough(c.P)) return piece(c);
    RoundPiece a, b;
    SplitThree(c.P, a.P, b.P, 2);
    SplitThree(c.Op, a.Op, b.Op);
    double q = (c.R[0] + c.R[1]) / 2, r = (c.R[1] + c.R[2]) / 2, m = (q + r) / 2;
    a.R[0] = c.R[0], a.R[1] = q, a.R[2] = m, b.R[0] = m, b.R[1] = r, b.R[2] = c.R[2];
    FlattenRound(a, depth + 1, piece);
    FlattenRound(b, depth + 1, piece);
}

// 24.8 to 16.16, kept inside the range 16.16 can hold.
inline int32_t To1616(int64_t v) {
    return int32_t(std::clamp<int64_t>(v, -(int64_t(1) << 23), (int64_t(1) << 23) - 1) << 8);
}
} // namespace

int PaintRoundCurve(const int32_t p[6], uint32_t colour, int32_t useBPen, int32_t first,
                    const int32_t size[3], const int32_t op[3]) {
    RoundPiece whole;
    for (int k = 0; k < 6; ++k) whole.P[k] = p[k];
    for (int k = 0; k < 3; ++k) whole.R[k] = RoundPenRadius(size[k]), whole.Op[k] = op[k];
    if (Pen == PenPointe) {
        if (!AntiAlias) return 1;
        int result = 0;
        bool isFirst = first != 0;
        auto piece = [&](const RoundPiece& c) {
            if (!result)
                result = PaintPointeLine(To1616(c.P[0]), To1616(c.P[1]), To1616(c.P[4]), To1616(c.P[5]),
                                         colour, useBPen, isFirst, c.Op[0], c.Op[2]);
            isFirst = false;
        };
        FlattenRound(whole, 0, piece);
        return result;
    }
    const Stamp* s = CurrentStamp;
    if (!s || s->Kind != 1) return 1;
    if (!AntiAlias && ((size[0] == 0 && size[1] == 0 && size[2] == 0) ||
                       (size[0] == -255 && size[1] == -255 && size[2] == -255)))
        return 1;
    const SpanRow* span = PickSpan(useBPen);
    if (!span) return -1;
    // All pieces go into one outline: overlapping hulls add up and the coverage is capped,
    // so each row of the curve is painted once.
    Outline shape, start;
    auto piece = [&](const RoundPiece& c) {
        Point a = DiscCentre(To1616(c.P[0]), To1616(c.P[1])), b = DiscCentre(To1616(c.P[4]), To1616(c.P[5]));
        if (a.X == b.X && a.Y == b.Y)
            AddDisc(shape, b, c.R[2]);
        else
            AddHull(shape, a, c.R[0], b, c.R[2]);
    };
    FlattenRound(whole, 0, piece);
    if (!first) AddDisc(start, DiscCentre(To1616(p[0]), To1616(p[1])), whole.R[0]);
    return FillShape(shape, first ? nullptr : &start, *span,
                     SpanColour(*span, colour, useBPen, To1616(p[0]), To1616(p[1])));
}

} // namespace nemu
