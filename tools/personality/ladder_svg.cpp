// SPDX-License-Identifier: Apache-2.0
// The ladder as a drawing: a bar where fans stay at a load, an arrow at each threshold. Colours
// tell apart with every kind of colour vision; the direction of an arrow says the same.
#include <fmt/format.h>

#include "tools/personality/axis.h"

namespace personality {

namespace {

constexpr int WIDTH = 760;
constexpr int HEIGHT = 400;
constexpr double LEFT = 108;
constexpr double RIGHT = 730;
constexpr double MARGIN = 24;
constexpr double TOP = 100;   // the row of the highest load
constexpr double PITCH = 66;  // from row to row
constexpr double SCALE_Y = 335;
constexpr double AREA_TOP = 66;
constexpr double ARROW_GAP = 9;  // from an arrow's ends to the middle of the bars

constexpr char HEAD[] =
    R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {0} {1}" width="{0}" height="{1}" role="img">
<title>{2}</title>
<style>
text {{ font: 13px sans-serif; fill: #222 }}
.small {{ font-size: 12px; fill: #555 }}
.up {{ stroke: #d55e00; fill: #d55e00 }}
.down {{ stroke: #0072b2; fill: #0072b2 }}
text.up, text.down, text.hot {{ stroke: none }}
.hot {{ stroke: #b00020; fill: #b00020 }}
.area {{ stroke: none; fill-opacity: 0.08 }}
.grid {{ stroke: #ddd }}
.bar {{ stroke: #444; stroke-width: 7; stroke-linecap: round }}
.faint {{ opacity: 0.25 }}
line {{ stroke-width: 2 }}
line.grid {{ stroke-width: 1 }}
.dashed {{ stroke-dasharray: 6 4 }}
</style>
<rect width="{0}" height="{1}" fill="#fff"/>
<text x="{3}" y="28" style="font-size:17px;font-weight:bold">{2}</text>
<text x="{3}" y="48" class="small">Bars: where fans stay, by average temperature. Orange: above it one step up. Blue: below it one step down.</text>
)";

// One drawing in the making.
struct Canvas {
    const Ladder& ladder;
    Axis axis;
    std::string text;

    double x(U32_t degrees) const { return LEFT + axis.at(degrees) * (RIGHT - LEFT); }
    double y(std::size_t step) const {
        return TOP + PITCH * static_cast<double>(ladder.steps.size() - 1 - step);
    }
    void line(const std::string& style, double x1, double y1, double x2, double y2) {
        text += fmt::format(R"(<line class="{}" x1="{:.1f}" y1="{:.1f}" x2="{:.1f}" y2="{:.1f}"/>)"
                            "\n",
                            style, x1, y1, x2, y2);
    }
    void label(const std::string& style, double x, double y, const char* anchor,
               const std::string& words) {
        text += fmt::format(R"(<text class="{}" x="{:.1f}" y="{:.1f}" text-anchor="{}">{}</text>)"
                            "\n",
                            style, x, y, anchor, words);
    }
};

void scale(Canvas& canvas) {
    for (const U32_t degrees : canvas.axis.ticks()) {
        const double x = canvas.x(degrees);
        canvas.line("grid", x, AREA_TOP, x, SCALE_Y);
        canvas.label("", x, SCALE_Y + 18, "middle", std::to_string(degrees));
    }
    canvas.label("small", (LEFT + RIGHT) / 2, SCALE_Y + 38, "middle", "degrees Celsius");
}

void overheat(Canvas& canvas) {
    const Ladder& ladder = canvas.ladder;
    if (ladder.overheat >= ladder.hottest) {
        return;
    }
    const double x = canvas.x(ladder.overheat);
    canvas.text +=
        fmt::format(R"(<rect class="hot area" x="{:.1f}" y="{}" width="{:.1f}" height="{}"/>)"
                    "\n",
                    x, AREA_TOP, RIGHT - x, SCALE_Y - AREA_TOP);
    canvas.line("hot dashed", x, AREA_TOP, x, SCALE_Y);
    const bool isRight = x > (LEFT + RIGHT) / 2;
    canvas.label("hot", x + (isRight ? -6 : 6), SCALE_Y - 8, isRight ? "end" : "start",
                 fmt::format("above {} shutdown", ladder.overheat));
}

std::string rowWords(const Step& step, const Ladder& ladder) {
    if (step.load == ladder.startLoad) {
        return step.floorBlocks ? "start, floor" : "start";
    }
    return !step.reached ? "not reached" : step.floorBlocks ? "floor" : "";
}

void bar(Canvas& canvas, std::size_t n) {
    const Step& step = canvas.ladder.steps[n];
    const double y = canvas.y(n);
    canvas.label("", LEFT - 16, y + 1, "end", fmt::format("{} %", step.load));
    canvas.label("small", LEFT - 16, y + 16, "end", rowWords(step, canvas.ladder));
    const auto left = leftEnd(step);
    const auto right = rightEnd(step);
    if (staysNowhere(step)) {
        canvas.label("small", (canvas.x(*left) + canvas.x(*right)) / 2, y + 4, "middle",
                     "stays nowhere");
        return;
    }
    canvas.line(step.reached ? "bar" : "bar faint", left ? canvas.x(*left) : LEFT, y,
                right ? canvas.x(*right) : RIGHT, y);
}

// Where a threshold's number stands: away from the threshold of the way back.
struct Side {
    double offset;
    const char* anchor;
};
constexpr Side RIGHT_OF = {8, "start"};
constexpr Side LEFT_OF = {-8, "end"};

void arrow(Canvas& canvas, const char* style, U32_t degrees, double from, double to, Side side) {
    const double x = canvas.x(degrees);
    const double way = to > from ? 1 : -1;
    canvas.line(style, x, from + way * ARROW_GAP, x, to - way * 2 * ARROW_GAP);
    canvas.text += fmt::format(R"(<path class="{}" d="M{:.1f} {:.1f} l-5 {:.0f} h10 z"/>)"
                               "\n",
                               style, x, to - way * ARROW_GAP, -way * 10);
    canvas.label(style, x + side.offset, (from + to) / 2 + 5, side.anchor, std::to_string(degrees));
}

// The two ways between step `n` and the one above it.
void arrows(Canvas& canvas, std::size_t n) {
    const Step& low = canvas.ladder.steps[n];
    const Step& high = canvas.ladder.steps[n + 1];
    const bool isInverted = low.goesUp && high.goesDown && *high.down > *low.up;
    if (low.goesUp) {
        arrow(canvas, low.reached ? "up" : "up faint", *low.up, canvas.y(n), canvas.y(n + 1),
              isInverted ? LEFT_OF : RIGHT_OF);
    }
    if (high.goesDown) {
        arrow(canvas, "down", *high.down, canvas.y(n + 1), canvas.y(n),
              isInverted ? RIGHT_OF : LEFT_OF);
    }
}

}  // namespace

std::string ladderSvg(const Ladder& ladder, const std::string& title) {
    Canvas canvas{ladder, Axis(ladder), fmt::format(HEAD, WIDTH, HEIGHT, title, MARGIN)};
    scale(canvas);
    overheat(canvas);
    for (std::size_t n = 0; n < ladder.steps.size(); n++) {
        bar(canvas, n);
    }
    for (std::size_t n = 0; n + 1 < ladder.steps.size(); n++) {
        arrows(canvas, n);
    }
    return canvas.text + "</svg>\n";
}

}  // namespace personality
