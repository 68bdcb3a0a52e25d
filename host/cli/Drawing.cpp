#include "host/cli/Drawing.h"

#include <cmath>
#include <limits>

#include "host/cli/Numbers.h"

namespace vexil3::cli {

namespace {

constexpr const char* kText = "text";
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::string colorText(std::uint32_t color) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text = "#";
    for (int shift = 20; shift >= 0; shift -= 4) text += digits[color >> shift & 15];
    return text;
}

std::string timeOrEmpty(double time) { return std::isnan(time) ? "" : timeText(time); }

std::string numberOrEmpty(double number) { return std::isnan(number) ? "" : shortest(number); }

}  // namespace

void Drawing::line(double time1, double price1, double time2, double price2, std::uint32_t color) noexcept {
    mShapes.push_back({"line", time1, price1, time2, price2, "", color});
}

void Drawing::rectangle(double time1, double price1, double time2, double price2, std::uint32_t color) noexcept {
    mShapes.push_back({"rectangle", time1, price1, time2, price2, "", color});
}

void Drawing::text(double time, double price, const char* text, std::uint32_t color) noexcept {
    mShapes.push_back({kText, time, price, kNone, kNone, text ? text : "", color});
}

Table Drawing::table() const {
    Table table({"shape", "time1", "price1", "time2", "price2", "color", "text"}, {false, false, true, false, true});
    for (const Shape& shape : mShapes)
        table.add({shape.kind, timeOrEmpty(shape.time1), numberOrEmpty(shape.price1), timeOrEmpty(shape.time2),
                   numberOrEmpty(shape.price2), colorText(shape.color), shape.text});
    return table;
}

nlohmann::ordered_json Drawing::json() const {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const Shape& shape : mShapes) {
        nlohmann::ordered_json each{{"shape", shape.kind}};
        if (shape.kind != kText) {
            each["from"] = {{"time", timeText(shape.time1)}, {"price", shape.price1}};
            each["to"] = {{"time", timeText(shape.time2)}, {"price", shape.price2}};
        } else {
            each["at"] = {{"time", timeText(shape.time1)}, {"price", shape.price1}};
            each["text"] = shape.text;
        }
        each["color"] = colorText(shape.color);
        all.push_back(std::move(each));
    }
    return all;
}

}  // namespace vexil3::cli
