// SPDX-License-Identifier: Apache-2.0
// The ladder in plain ASCII, for a serial console: one row per load, a bar where fans stay at it.
#include <fmt/format.h>

#include <cmath>

#include "tools/personality/axis.h"

namespace personality {

namespace {

constexpr std::size_t COLUMNS = 45;
constexpr std::size_t LEFT = 8;  // columns before the axis

std::size_t column(const Axis& axis, U32_t degrees) {
    return static_cast<std::size_t>(std::lround(axis.at(degrees) * double(COLUMNS - 1)));
}

class Row {
  public:
    explicit Row(const Axis& axis) : axis_(axis), text_(COLUMNS, ' ') {}
    void put(U32_t degrees, const std::string& mark) {
        text_.replace(column(axis_, degrees), mark.size(), mark);
    }
    void bar(std::optional<U32_t> left, std::optional<U32_t> right) {
        const std::size_t from = left ? column(axis_, *left) : 0;
        const std::size_t to = right ? column(axis_, *right) : COLUMNS - 1;
        text_.replace(from, to - from + 1, to - from + 1, '=');
        text_[from] = left ? '|' : '<';
        text_[to] = right ? '|' : '>';
    }
    const std::string& text() const { return text_; }

  private:
    const Axis& axis_;
    std::string text_;
};

std::string stepWords(const Step& step, U8_t startLoad) {
    std::vector<std::string> words;
    if (step.load == startLoad) {
        words.push_back("start");
    }
    if (!step.reached) {
        words.push_back("not reached");
    }
    if (step.goesDown) {
        words.push_back(fmt::format("below {} down", *step.down));
    }
    if (step.floorBlocks) {
        words.push_back("no step down (floor)");
    }
    if (step.goesUp) {
        words.push_back(fmt::format("above {} up", *step.up));
    }
    if (staysNowhere(step)) {
        words.push_back("stays nowhere");
    }
    return fmt::format("{}", fmt::join(words, ", "));
}

std::string stepRow(const Step& step, const Ladder& ladder, const Axis& axis) {
    Row row(axis);
    if (!staysNowhere(step)) {
        row.bar(leftEnd(step), rightEnd(step));
    }
    return fmt::format("{:>5} % {}  {}\n", step.load, row.text(),
                       stepWords(step, ladder.startLoad));
}

std::string scaleRows(const Axis& axis) {
    std::string line(COLUMNS, '-');
    Row numbers(axis);
    for (const U32_t degrees : axis.ticks()) {
        line[column(axis, degrees)] = '+';
        numbers.put(degrees, std::to_string(degrees));
    }
    return fmt::format("{:{}}{}\n{:{}}{} C\n", "", LEFT, line, "", LEFT, numbers.text());
}

std::string overheatRow(const Ladder& ladder, const Axis& axis) {
    if (ladder.overheat >= ladder.hottest) {
        return fmt::format("{:{}}no shutdown: the limit is above every reading\n", "", LEFT);
    }
    Row row(axis);
    row.put(ladder.overheat, "^");
    return fmt::format("{:{}}{}  above {} shutdown\n", "", LEFT, row.text(), ladder.overheat);
}

}  // namespace

std::string ladderText(const Ladder& ladder) {
    const Axis axis(ladder);
    std::string text = "Load ladder: where fans stay, by average temperature\n";
    for (std::size_t n = ladder.steps.size(); n-- > 0;) {
        text += stepRow(ladder.steps[n], ladder, axis);
    }
    return text + scaleRows(axis) + overheatRow(ladder, axis);
}

}  // namespace personality
