// The object that a script's declaring function gets.
#pragma once

#include <initializer_list>
#include <lua.hpp>

#include <vexil3/profile.h>
#include "host/lua/HostCall.h"

namespace vexil3::lua {

// The methods addInteger, addDouble, addBoolean and addString of `profile.parameters`. Lives while the
// declaring function runs.
class ParametersObject {
public:
    explicit ParametersObject(IParametersFactory* factory) : mFactory(factory) {}

    // Pushes the table. May raise a Lua error.
    void push(lua_State* L);

private:
    int addInteger(lua_State* L);
    int addDouble(lua_State* L);
    int addBoolean(lua_State* L);
    int addString(lua_State* L);
    static int check(lua_State* L, bool isAdded);
    static void checkBounds(lua_State* L, double value, double least, double most);

    IParametersFactory* mFactory;
};

// Reads a whole number.
int checkInteger(lua_State* L, int index);

// Reads argument 2: one of `names`, in letters of either case, or its number.
int checkChoice(lua_State* L, std::initializer_list<const char*> names);

// The table `profile`, with a method for each operation that the kind's callback offers. Lives while
// the declaring function runs.
template <class Callback>
class ProfileObject {
public:
    explicit ProfileObject(Callback* callback) : mCallback(callback), mParameters(factory(callback)) {}

    // Pushes the table. May raise a Lua error.
    void push(lua_State* L) {
        lua_newtable(L);
        setText<&Callback::setID>(L, "setID");
        setText<&Callback::setName>(L, "setName");
        setText<&Callback::setDescription>(L, "setDescription");
        setMethod<&ProfileObject::isAllowed>(L, "isAllowed", this);
        if constexpr (requires(Callback * c) { c->getParametersFactory(); }) {
            mParameters.push(L);
            lua_setfield(L, -2, "parameters");
        }
        if constexpr (requires { &Callback::setIcon; }) setText<&Callback::setIcon>(L, "setIcon");
        if constexpr (requires { &Callback::setTooltip; }) setText<&Callback::setTooltip>(L, "setTooltip");
        if constexpr (requires { &Callback::setRequiredSource; }) {
            setMethod<&ProfileObject::setRequiredSource>(L, "setRequiredSource", this);
            setMethod<&ProfileObject::setIndicatorType>(L, "setIndicatorType", this);
        }
        if constexpr (requires { &Callback::setStrategyType; })
            setMethod<&ProfileObject::setStrategyType>(L, "setStrategyType", this);
        if constexpr (requires { &Callback::getCreationStrategyCallback; })
            setMethod<&ProfileObject::setPointCount>(L, "setPointCount", this);
    }

private:
    static IParametersFactory* factory(Callback* callback) {
        if constexpr (requires { callback->getParametersFactory(); })
            return callback->getParametersFactory();
        else
            return nullptr;
    }

    template <void (Callback::*Set)(const char*)>
    void setText(lua_State* L, const char* name) {
        setMethod<&ProfileObject::assign<Set>>(L, name, this);
    }

    template <void (Callback::*Set)(const char*)>
    int assign(lua_State* L) {
        const char* const text = luaL_checkstring(L, 2);
        hostCall(L, [&] { (mCallback->*Set)(text); });
        return 0;
    }

    int isAllowed(lua_State* L) {
        const char* const name = luaL_checkstring(L, 2);
        lua_pushboolean(L, hostCall(L, [&] {
                            IPermissions* const permissions = mCallback->getPermissions();
                            return permissions && permissions->isAllowed(name);
                        }));
        return 1;
    }

    int setRequiredSource(lua_State* L) {
        const int choice = checkChoice(L, {"tick", "bar"});
        hostCall(L,
                 [&] { mCallback->setRequiredSource(static_cast<decltype(mCallback->getRequiredSource())>(choice)); });
        return 0;
    }

    int setIndicatorType(lua_State* L) {
        const int choice = checkChoice(L, {"indicator", "oscillator"});
        hostCall(L, [&] { mCallback->setIndicatorType(static_cast<decltype(mCallback->getIndicatorType())>(choice)); });
        return 0;
    }

    int setStrategyType(lua_State* L) {
        const int choice = checkChoice(L, {"signal", "trading"});
        hostCall(L, [&] { mCallback->setStrategyType(static_cast<decltype(mCallback->getStrategyType())>(choice)); });
        return 0;
    }

    int setPointCount(lua_State* L) {
        const int count = checkInteger(L, 2);
        luaL_argcheck(L, count > 0 && count <= 1000, 2, "a tool has 1 to 1000 points");
        hostCall(L, [&] {
            if (auto* const creation = mCallback->getCreationStrategyCallback()) creation->setPointCount(count);
        });
        return 0;
    }

    Callback* mCallback;
    ParametersObject mParameters;
};

}  // namespace vexil3::lua
