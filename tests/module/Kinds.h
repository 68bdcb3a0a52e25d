// The four kinds side by side, and every operation of their interfaces in slot order, as calls.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "adapters/IndicatorProfileImplementation.h"
#include "adapters/MacroProfileImplementation.h"
#include "adapters/StrategyProfileImplementation.h"
#include "adapters/ToolProfileImplementation.h"
#include "doubles/HostObjects.h"
#include "doubles/ScriptObjects.h"

namespace vexil3::test {

// Which virtual function a pointer to a member means: such a pointer is its offset in the table, plus one.
template <class Operation>
std::size_t slotOf(Operation operation) {
    static_assert(sizeof operation == 2 * sizeof(std::size_t));
    std::size_t words[2];
    std::memcpy(words, &operation, sizeof words);
    return words[0] / sizeof(void*);
}

template <class Instance>
using InstanceCall = bool (*)(Instance&, IError**);
template <class Callback>
using CallbackCall = std::string (*)(Callback&);

inline IValueMap* const kValues = somewhere<IValueMap>(20);
inline IParameters* const kParameters = somewhere<IParameters>(21);
inline IHost* const kHost = somewhere<IHost>(22);
inline IPriceStream* const kPrices = somewhere<IPriceStream>(23);
inline IPriceStream* const kOtherPrices = somewhere<IPriceStream>(24);
inline IOwnerDrawnContext* const kContext = somewhere<IOwnerDrawnContext>(25);
inline char* const kBuffer = somewhere<char>(26);

struct IndicatorKind {
    using Interface = IIndicatorProfileImplementation;
    using Adapter = js::IndicatorProfileImplementation;
    using Recorder = IndicatorProfileRecorder;
    using Instance = IIndicatorInstanceImplementation;
    using InstanceAdapter = js::IndicatorInstanceImplementation;
    using HostInstance = HostIndicatorInstance;
    using Profile = IIndicatorProfile;
    using Callback = IIndicatorProfileCallback;
    using Wrapper = js::IndicatorProfileCallback;
    using Host = HostIndicator;

    static std::size_t lastInstanceSlot() { return slotOf(&Instance::draw); }
    static std::vector<InstanceCall<Instance>> converting() {
        return {[](Instance& i, IError** e) { return i.prepare(true, e); },
                [](Instance& i, IError** e) { return i.update(7, Instance::UpdateLast, e); },
                [](Instance& i, IError** e) { return i.notifyFinished(-3, kValues, e); },
                [](Instance& i, IError** e) { return i.releaseInstance(e); },
                [](Instance& i, IError** e) { return i.draw(IOwnerDrawnContext::Foreground, kContext, e); }};
    }
    static std::size_t lastCallbackSlot() { return slotOf(&Callback::getPermissions); }
    static std::vector<CallbackCall<Callback>> forwarding() {
        return {[](Callback& c) { return shown(c.getRequiredSource()); },
                [](Callback& c) { return shown(c.getIndicatorType()); },
                [](Callback& c) { return shown(c.createInstance(kHost, kPrices, kParameters)); },
                [](Callback& c) { return c.setID("x"), shown(0); },
                [](Callback& c) { return c.setName("x"), shown(0); },
                [](Callback& c) { return c.setDescription(nullptr), shown(0); },
                [](Callback& c) { return shown(c.getParametersFactory()); },
                [](Callback& c) { return c.setRequiredSource(Profile::Bar), shown(0); },
                [](Callback& c) { return c.setIndicatorType(Profile::Oscillator), shown(0); },
                [](Callback& c) { return shown(c.getPermissions()); }};
    }
};

struct StrategyKind {
    using Interface = IStrategyProfileImplementation;
    using Adapter = js::StrategyProfileImplementation;
    using Recorder = StrategyProfileRecorder;
    using Instance = IStrategyInstanceImplementation;
    using InstanceAdapter = js::StrategyInstanceImplementation;
    using HostInstance = HostStrategyInstance;
    using Profile = IStrategyProfile;
    using Callback = IStrategyProfileCallback;
    using Wrapper = js::StrategyProfileCallback;
    using Host = HostStrategy;

    static std::size_t lastInstanceSlot() { return slotOf(&Instance::changeParameters); }
    static std::vector<InstanceCall<Instance>> converting() {
        return {[](Instance& i, IError** e) { return i.prepare(false, e); },
                [](Instance& i, IError** e) { return i.update(e); },
                [](Instance& i, IError** e) { return i.notifyFinished(-3, kValues, e); },
                [](Instance& i, IError** e) { return i.releaseInstance(e); },
                [](Instance& i, IError** e) { return i.checkParameters(kParameters, kBuffer, 99, e); },
                [](Instance& i, IError** e) { return i.changeParameters(kParameters, e); }};
    }
    static std::size_t lastCallbackSlot() { return slotOf(&Callback::getPermissions); }
    static std::vector<CallbackCall<Callback>> forwarding() {
        return {[](Callback& c) { return shown(c.getStrategyType()); },
                [](Callback& c) { return shown(c.createInstance(kHost, kPrices, kOtherPrices, kParameters)); },
                [](Callback& c) { return c.setID("x"), shown(0); },
                [](Callback& c) { return c.setName("x"), shown(0); },
                [](Callback& c) { return c.setDescription("x"), shown(0); },
                [](Callback& c) { return shown(c.getParametersFactory()); },
                [](Callback& c) { return c.setStrategyType(Profile::Trading), shown(0); },
                [](Callback& c) { return shown(c.getPermissions()); }};
    }
};

struct ToolKind {
    using Interface = IToolProfileImplementation;
    using Adapter = js::ToolProfileImplementation;
    using Recorder = ToolProfileRecorder;
    using Instance = IToolInstanceImplementation;
    using InstanceAdapter = js::ToolInstanceImplementation;
    using HostInstance = HostToolInstance;
    using Profile = IToolProfile;
    using Callback = IToolProfileCallback;
    using Wrapper = js::ToolProfileCallback;
    using Host = HostTool;

    static std::size_t lastInstanceSlot() { return slotOf(&Instance::draw); }
    static std::vector<InstanceCall<Instance>> converting() {
        return {[](Instance& i, IError** e) { return i.creationStarted(e); },
                [](Instance& i, IError** e) { return i.click(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.doubleClick(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.drag(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.dragEnd(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.creationFinished(e); },
                [](Instance& i, IError** e) { return i.prepare(true, e); },
                [](Instance& i, IError** e) { return i.moveStart(e); },
                [](Instance& i, IError** e) { return i.move(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.moveFinished(e); },
                [](Instance& i, IError** e) { return i.moveReferencePointStart(2, e); },
                [](Instance& i, IError** e) { return i.moveReferencePoint(1, 2, 3.5, 4.5, e); },
                [](Instance& i, IError** e) { return i.moveReferencePointFinished(e); },
                [](Instance& i, IError** e) { return i.notifyFinished(-3, kValues, e); },
                [](Instance& i, IError** e) { return i.releaseInstance(e); },
                [](Instance& i, IError** e) { return i.checkParameters(kParameters, kBuffer, 99, e); },
                [](Instance& i, IError** e) { return i.changeParameters(kParameters, e); },
                [](Instance& i, IError** e) { return i.draw(IOwnerDrawnContext::Foreground, kContext, e); }};
    }
    static std::size_t lastCallbackSlot() { return slotOf(&Callback::setIcon); }
    static std::vector<CallbackCall<Callback>> forwarding() {
        return {[](Callback& c) { return shown(c.getCreationStrategy()); },
                [](Callback& c) { return shown(c.createInstance(kHost, kParameters)); },
                [](Callback& c) { return shown(c.getIcon()); },
                [](Callback& c) { return shown(c.getIconStatus(kHost)); },
                [](Callback& c) { return c.setID("x"), shown(0); },
                [](Callback& c) { return c.setName("x"), shown(0); },
                [](Callback& c) { return c.setDescription("x"), shown(0); },
                [](Callback& c) { return shown(c.getCreationStrategyCallback()); },
                [](Callback& c) { return shown(c.getParametersFactory()); },
                [](Callback& c) { return shown(c.getPermissions()); },
                [](Callback& c) { return c.setIcon("x"), shown(0); }};
    }
};

struct MacroKind {
    using Interface = IMacroProfileImplementation;
    using Adapter = js::MacroProfileImplementation;
    using Recorder = MacroProfileRecorder;
    using Instance = IMacroInstanceImplementation;
    using InstanceAdapter = js::MacroInstanceImplementation;
    using HostInstance = HostMacroInstance;
    using Profile = IMacroProfile;
    using Callback = IMacroProfileCallback;
    using Wrapper = js::MacroProfileCallback;
    using Host = HostMacro;

    static std::size_t lastInstanceSlot() { return slotOf(&Instance::kill); }
    static std::vector<InstanceCall<Instance>> converting() {
        return {[](Instance& i, IError** e) { return i.releaseInstance(e); },
                [](Instance& i, IError** e) { return i.execute(e); },
                [](Instance& i, IError** e) { return i.execute(kParameters, e); },
                [](Instance& i, IError** e) { return i.notifyFinished(-3, kValues, e); },
                [](Instance& i, IError** e) { return i.kill(e); }};
    }
    static std::size_t lastCallbackSlot() { return slotOf(&Callback::setTooltip); }
    static std::vector<CallbackCall<Callback>> forwarding() {
        return {[](Callback& c) { return shown(c.createInstance(kHost)); },
                [](Callback& c) { return shown(c.getIcon()); },
                [](Callback& c) { return shown(c.getTooltip()); },
                [](Callback& c) { return shown(c.getIconStatus(kHost)); },
                [](Callback& c) { return c.setID("x"), shown(0); },
                [](Callback& c) { return c.setName("x"), shown(0); },
                [](Callback& c) { return c.setDescription("x"), shown(0); },
                [](Callback& c) { return shown(c.getPermissions()); },
                [](Callback& c) { return c.setIcon("x"), shown(0); },
                [](Callback& c) { return c.setTooltip("x"), shown(0); }};
    }
};

}  // namespace vexil3::test
