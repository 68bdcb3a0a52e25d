// Calls into a script by name.
#pragma once

#include <vexil3/error.h>

namespace vexil3 {

// The arguments of one call and what came of it. [script thread]
class VEXIL_API IExecutableArgs : public IObjectNoRef {
public:
    static const _GUID ID;

    enum ValueType { Nothing = 0, Boolean = 1, Number = 2, String = 3 };

    virtual unsigned long count() = 0;
    virtual ValueType type(unsigned long index) = 0;
    // A boolean is 0 or 1.
    virtual double number(unsigned long index) = 0;
    // Valid while the arguments live.
    virtual const char* text(unsigned long index) = 0;

    // The call's result.
    virtual void setNothing() = 0;
    virtual void setBoolean(bool value) = 0;
    virtual void setNumber(double value) = 0;
    virtual void setText(const char* value) = 0;

    // True while no error is set.
    virtual bool isSucceeded() = 0;
    // Adds its own reference; null removes the error.
    virtual void setError(IError* error) = 0;
    // The error or null. [owned]
    virtual IError* getError() = 0;
};

class VEXIL_API IExecutable : public IObject {
public:
    static const _GUID ID;

    enum MemberType { Method = 0, Property = 1 };
    enum InvokeType { Call = 0, Get = 1, Set = 2 };

    // Finds a member that invoke can reach; false leaves both out-parameters alone.
    virtual bool findMember(const char* name, int* id, MemberType* type) = 0;
    // Errors travel in `args`. `object` is the caller, or null. [script thread]
    virtual void invoke(int id, InvokeType type, IObjectNoRef* object, IExecutableArgs* args) = 0;
    virtual bool isArray() = 0;
};

}  // namespace vexil3
