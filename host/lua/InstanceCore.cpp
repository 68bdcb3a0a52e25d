#include "host/lua/InstanceCore.h"

#include <vexil3/ref.h>

#include <algorithm>

#include "host/lua/HostCall.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

bool InstanceCore::isStarted(IError** error) const {
    if (mIsStarted) return true;
    ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNotSupported,
                             "The instance is not initialised; init must succeed first", mScript->id.c_str(), 0);
    return false;
}

bool InstanceCore::open(IInstanceCallback* callback, IError** error) {
    mIsStarted = false;
    mMembers.clear();
    if (!callback) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, "Object is NULL");
        return false;
    }
    mState.emplace(mEnvironment, mScript->id, mUse);
    mState->attach(callback->getHost(), callback, mPhase);
    if (IDebugger* const debugger = mEnvironment.debugger) debugger->objectCreated(callback);
    return true;
}

void InstanceCore::pushObject(lua_State* L, IInstanceCallback* callback) {
    lua_newtable(L);
    pushParameters(L, hostCall(L, [&] { return callback->getParameters(); }));
    lua_setfield(L, -2, "parameters");
}

bool InstanceCore::findMember(const char* name, int* id, IExecutable::MemberType* type) {
    if (!mIsStarted || !name) return false;
    std::optional<IExecutable::MemberType> found;
    mState->run("findMember", nullptr, [&](lua_State* L) {
        lua_pushstring(L, name);
        lua_rawget(L, LUA_GLOBALSINDEX);
        const int kind = lua_type(L, -1);
        if (kind == LUA_TFUNCTION && !lua_iscfunction(L, -1)) found = IExecutable::Method;
        if (kind == LUA_TNUMBER || kind == LUA_TSTRING || kind == LUA_TBOOLEAN) found = IExecutable::Property;
    });
    if (!found) return false;
    const auto known = std::find(mMembers.begin(), mMembers.end(), name);
    if (id) *id = static_cast<int>(known - mMembers.begin());
    if (type) *type = *found;
    if (known == mMembers.end()) mMembers.emplace_back(name);
    return true;
}

void InstanceCore::invoke(int id, IExecutable::InvokeType type, IExecutableArgs* args) {
    if (!args) return;
    Ref<IError> error;
    if (isStarted(error.out())) {
        if (id < 0 || static_cast<std::size_t>(id) >= mMembers.size())
            ErrorFactory::throwError(error.out(), IError::StageArgument, IError::CodeNotFound,
                                     "The script has no such member", mScript->id.c_str(), 0);
        else
            invoke(mMembers[id], type, args, error.out());
    }
    if (error) args->setError(error.get());
}

bool InstanceCore::invoke(const std::string& name, IExecutable::InvokeType type, IExecutableArgs* args,
                          IError** error) {
    return mState->run(name.c_str(), error, [&](lua_State* L) {
        const unsigned long count = hostCall(L, [&] { return args->count(); });
        luaL_checkstack(L, static_cast<int>(std::min<unsigned long>(count, LUAI_MAXCSTACK)) + 4, "too many arguments");
        if (type == IExecutable::Set) {
            lua_pushlstring(L, name.data(), name.size());
            count > 0 ? pushArgument(L, args, 0) : lua_pushnil(L);
            lua_rawset(L, LUA_GLOBALSINDEX);
            lua_pushnil(L);
        } else if (type == IExecutable::Get) {
            lua_pushlstring(L, name.data(), name.size());
            lua_rawget(L, LUA_GLOBALSINDEX);
        } else {
            if (!mState->pushHandler(L, name.c_str())) luaL_error(L, "'%s' is not a function", name.c_str());
            for (unsigned long i = 0; i < count; ++i) pushArgument(L, args, i);
            lua_call(L, static_cast<int>(count), 1);
        }
        popResult(L, args);
        mState->refreshUpdate(L);
    });
}

}  // namespace vexil3::lua
