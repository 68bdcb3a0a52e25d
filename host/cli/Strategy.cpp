// Strategies: every bar in turn, trading a simulated account at closing prices.
#include <cmath>

#include <nlohmann/json.hpp>

#include "host/cli/Account.h"
#include "host/cli/Numbers.h"
#include "host/cli/Run.h"
#include "host/cli/Table.h"

namespace vexil3::cli {

namespace {

constexpr std::size_t kMostOrders = 1'000'000;

class StrategyInstance final : public InstanceBase<IStrategyInstanceCallback> {
public:
    StrategyInstance(IProfile& profile, IPriceStream& prices) : InstanceBase(profile), mPrices(prices) {}

    IPriceStream* getBid() override { return &mPrices; }
    IPriceStream* getAsk() override { return &mPrices; }
    int getPeriod() override { return static_cast<int>(mPrices.size()) - 1; }
    bool buy(double amount, IError** error) noexcept override { return trade(amount, 1, error); }
    bool sell(double amount, IError** error) noexcept override { return trade(amount, -1, error); }
    double getPosition() override { return mAccount.position(); }

    const Account& account() const { return mAccount; }

private:
    bool trade(double amount, int direction, IError** error) {
        const char* fault = nullptr;
        if (!(amount > 0) || !std::isfinite(amount)) fault = "the amount of an order must be a number above 0";
        if (getPeriod() < 0) fault = "there is no price to trade at before the first bar";
        if (mAccount.orders().size() == kMostOrders) fault = "a run takes no more than 1,000,000 orders";
        if (fault) {
            ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNotSupported, fault);
            return false;
        }
        const auto bar = static_cast<unsigned long>(getPeriod());
        mAccount.trade(mPrices.column(IPriceStream::Time)[bar], direction * amount,
                       mPrices.column(IPriceStream::Close)[bar]);
        return true;
    }

    IPriceStream& mPrices;
    Account mAccount;
};

const char* sideOf(const Order& order) { return order.isBuy ? "buy" : "sell"; }

// Profits are sums of products: a tenth of a millionth is all that they mean.
std::string money(double value) {
    char text[kNumberRoom];
    return shortest(parseNumber(std::string_view(text, static_cast<std::size_t>(writeFixed(text, value, 7) - text)))
                        .value_or(value));
}

Table ordersTable(const Account& account, bool exact) {
    Table table({"time", "side", "amount", "price", "position", "profit"}, {false, false, true, true, true, true});
    for (const Order& order : account.orders())
        table.add({timeText(order.time), sideOf(order), shortest(order.amount), shortest(order.price),
                   shortest(order.position), exact ? shortest(order.profit) : money(order.profit)});
    return table;
}

Table resultTable(const Result& result) {
    Table table({"net profit", money(result.netProfit)}, {false, true});
    table.add({"of it open", money(result.openProfit)});
    table.add({"orders", std::to_string(result.orders)});
    table.add({"trades", std::to_string(result.trades)});
    table.add({"winning trades", std::to_string(result.winners)});
    table.add({"position", shortest(result.position)});
    return table;
}

nlohmann::ordered_json toJson(Run& run, IProfile& profile, const Account& account, const Result& result) {
    nlohmann::ordered_json document{{"kind", "strategy"}, {"script", run.script}, {"name", profile.getName()}};
    document["instrument"] = run.prices.instrument();
    document["orders"] = nlohmann::ordered_json::array();
    for (const Order& order : account.orders())
        document["orders"].push_back({{"time", timeText(order.time)},
                                      {"side", sideOf(order)},
                                      {"amount", order.amount},
                                      {"price", order.price},
                                      {"position", order.position},
                                      {"profit", order.profit}});
    document["result"] = {{"netProfit", result.netProfit},   {"openProfit", result.openProfit},
                          {"orders", result.orders},         {"trades", result.trades},
                          {"winningTrades", result.winners}, {"position", result.position}};
    return document;
}

void write(Run& run, IProfile& profile, const Account& account) {
    const Result result = account.result(run.prices.column(IPriceStream::Close)[run.prices.total() - 1]);
    if (run.options.format == Format::Json) {
        run.output.text(jsonText(toJson(run, profile, account, result), 2));
        run.output.character('\n');
    } else if (run.options.format == Format::Csv) {
        ordersTable(account, true).writeCsv(run.output);
    } else {
        ordersTable(account, false).write(run.output);
        run.output.character('\n');
        resultTable(result).write(run.output);
    }
}

}  // namespace

void runStrategy(Run& run) {
    LoadedScript<StrategyProfile, IStrategyProfileImplementation> loaded(run, run.messages,
                                                                         &ILanguage::createStrategyProfile);
    StrategyInstance callback(loaded.profile, run.prices);
    const auto instance = loaded.start(callback);
    checkSettings(run, *instance, loaded.profile);
    ErrorSlot error;
    expect(instance->prepare(false, error), error, "prepare");
    warnWithout(run, *instance, {"update"});
    for (unsigned long period = 0; period < run.prices.total(); ++period) {
        run.prices.show(period + 1);
        expect(instance->update(error), error, "update");
    }
    expect(instance->releaseInstance(error), error, "releaseInstance");
    write(run, loaded.profile, callback.account());
}

}  // namespace vexil3::cli
