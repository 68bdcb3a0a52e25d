// The program as a script sees it.
#pragma once

#include <mutex>

#include <vexil3/host.h>

#include "host/cli/Implements.h"
#include "host/cli/Output.h"

namespace vexil3::cli {

class Host final : public Implements<IHost, IHost, IObjectNoRef> {
public:
    // What scripts log goes to `log`; both are borrowed.
    Host(Output& log, IPriceStream& prices) : mLog(log), mPrices(prices) {}

    void log(const char* text) noexcept override {
        const std::lock_guard lock(mMutex);
        mLog.text(text ? text : "");
        mLog.character('\n');
        if (mLog.isTerminal()) mLog.flush();
    }
    IPriceStream* getPrices() override { return &mPrices; }

private:
    std::mutex mMutex;
    Output& mLog;
    IPriceStream& mPrices;
};

// Scripts are allowed nothing that would need leave: no files, processes or network.
class NoPermissions final : public Implements<IPermissions, IPermissions, IObjectNoRef> {
public:
    bool isAllowed(const char*) override { return false; }
};

}  // namespace vexil3::cli
