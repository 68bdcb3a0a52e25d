#include "host/cli/Account.h"

#include <algorithm>
#include <cmath>

namespace vexil3::cli {

void Account::trade(double time, double units, double price) {
    const bool opposes = mPosition != 0 && (units > 0) != (mPosition > 0);
    const double closing = opposes ? std::copysign(std::min(std::abs(units), std::abs(mPosition)), units) : 0;
    const double profit = opposes ? close(closing, price) : 0;
    const double opening = units - closing;
    if (opening != 0) {
        mAveragePrice = (mAveragePrice * mPosition + price * opening) / (mPosition + opening);
        mPosition += opening;
    }
    mOrders.push_back({time, units > 0, std::abs(units), price, mPosition, profit});
}

Result Account::result(double lastPrice) const {
    const double open = mPosition * (lastPrice - mAveragePrice) + 0.0;  // never -0
    return {mOrders.size(), mTrades, mWinners, mRealised + open, open, mPosition};
}

double Account::close(double units, double price) {
    const double profit = 0.0 - units * (price - mAveragePrice);  // never -0
    mPosition += units;
    if (mPosition == 0) mAveragePrice = 0;
    mRealised += profit;
    ++mTrades;
    if (profit > 0) ++mWinners;
    return profit;
}

}  // namespace vexil3::cli
