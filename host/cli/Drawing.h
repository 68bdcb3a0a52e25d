// What a script draws.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <vexil3/host.h>

#include "host/cli/Implements.h"
#include "host/cli/Table.h"

namespace vexil3::cli {

class Drawing final : public Implements<IOwnerDrawnContext, IOwnerDrawnContext, IObjectNoRef> {
public:
    void line(double time1, double price1, double time2, double price2, std::uint32_t color) noexcept override;
    void rectangle(double time1, double price1, double time2, double price2, std::uint32_t color) noexcept override;
    void text(double time, double price, const char* text, std::uint32_t color) noexcept override;

    bool empty() const { return mShapes.empty(); }
    Table table() const;
    nlohmann::ordered_json json() const;

private:
    struct Shape {
        const char* kind;
        double time1;
        double price1;
        double time2;
        double price2;
        std::string text;
        std::uint32_t color;
    };

    std::vector<Shape> mShapes;
};

}  // namespace vexil3::cli
