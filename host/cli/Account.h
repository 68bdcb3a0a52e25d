// A simulated account that trades one instrument, without costs.
#pragma once

#include <vector>

namespace vexil3::cli {

struct Order {
    double time;
    bool isBuy;
    double amount;
    double price;
    double position;  // units held afterwards, negative when sold short
    double profit;    // realised by this order
};

struct Result {
    unsigned long orders = 0;
    unsigned long trades = 0;   // orders that closed a position or a part of one
    unsigned long winners = 0;  // trades with a profit
    double netProfit = 0;       // realised, and open at the last price
    double openProfit = 0;
    double position = 0;
};

class Account {
public:
    // Buys `units`, or sells -units, at `price`.
    void trade(double time, double units, double price);

    double position() const { return mPosition; }
    const std::vector<Order>& orders() const { return mOrders; }
    Result result(double lastPrice) const;

private:
    // What closing `units` of the position at `price` earns.
    double close(double units, double price);

    double mPosition = 0;
    double mAveragePrice = 0;
    unsigned long mTrades = 0;
    unsigned long mWinners = 0;
    double mRealised = 0;
    std::vector<Order> mOrders;
};

}  // namespace vexil3::cli
