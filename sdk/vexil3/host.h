// What a host gives to scripts: prices, parameters, values, a place to draw.
#pragma once

#include <cstdint>

#include <vexil3/object.h>

namespace vexil3 {

// The bars of a chart, oldest first. Columns are contiguous and valid until bars are added.
// [script thread]
class VEXIL_API IPriceStream : public IObjectNoRef {
public:
    static const _GUID ID;

    enum Column { Time = 0, Open = 1, High = 2, Low = 3, Close = 4, Volume = 5 };

    virtual const char* instrument() = 0;
    virtual unsigned long size() = 0;
    // Times are in seconds since 1970 UTC. [borrowed]
    virtual const double* column(Column column) = 0;
};

// The values of a script's parameters, in the order of their declaration. [script thread]
class VEXIL_API IParameters : public IObjectNoRef {
public:
    static const _GUID ID;

    enum Type { Integer = 0, Double = 1, Boolean = 2, String = 3 };

    virtual unsigned long count() = 0;
    // Texts are valid while the parameters live.
    virtual const char* id(unsigned long index) = 0;
    virtual Type type(unsigned long index) = 0;
    // A boolean is 0 or 1; a string 0.
    virtual double number(unsigned long index) = 0;
    virtual const char* text(unsigned long index) = 0;
};

// Takes a script's declarations of its parameters. False: the id is taken, empty, or the value
// lies outside the bounds.
class VEXIL_API IParametersFactory : public IObjectNoRef {
public:
    static const _GUID ID;

    virtual bool addInteger(const char* id, const char* name, int value, int minimum, int maximum) = 0;
    virtual bool addDouble(const char* id, const char* name, double value, double minimum, double maximum) = 0;
    virtual bool addBoolean(const char* id, const char* name, bool value) = 0;
    virtual bool addString(const char* id, const char* name, const char* value) = 0;
};

// Named values that come with a notification.
class VEXIL_API IValueMap : public IObjectNoRef {
public:
    static const _GUID ID;

    virtual unsigned long count() = 0;
    virtual const char* name(unsigned long index) = 0;
    virtual const char* value(unsigned long index) = 0;
};

// Where a script draws, in chart coordinates: time in seconds, price. Colours are 0xRRGGBB.
class VEXIL_API IOwnerDrawnContext : public IObjectNoRef {
public:
    static const _GUID ID;

    enum Stage { Background = 0, Foreground = 1 };

    virtual void line(double time1, double price1, double time2, double price2, std::uint32_t color) = 0;
    virtual void rectangle(double time1, double price1, double time2, double price2, std::uint32_t color) = 0;
    virtual void text(double time, double price, const char* text, std::uint32_t color) = 0;
};

// The host as a script sees it.
class VEXIL_API IHost : public IObjectNoRef {
public:
    static const _GUID ID;

    // Writes a line for the person at the host. [any thread]
    virtual void log(const char* text) = 0;
    // The prices of the chart that the script was started from, or null. [borrowed]
    virtual IPriceStream* getPrices() = 0;
};

// What a script is allowed.
class VEXIL_API IPermissions : public IObjectNoRef {
public:
    static const _GUID ID;

    virtual bool isAllowed(const char* permission) = 0;
};

}  // namespace vexil3
