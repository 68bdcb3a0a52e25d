// The host's side of a script, in memory, recording what it is told.
#pragma once

#include <vexil3/sdk.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexil3::test {

// An uncounted double that answers for one interface.
template <class Interface>
class Plain : public Interface {
public:
    bool is(_GUID id) const override { return answers<Interface, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Interface, IObjectNoRef>(id, static_cast<const Interface*>(this), object);
    }
};

class MemoryFile : public TAddRefImpl<IFile> {
public:
    MemoryFile(std::string id, std::string text) : mId(std::move(id)), mText(std::move(text)) {}

    bool is(_GUID id) const override { return answers<IFile, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IFile, IObject>(id, this, object); }
    const char* id() override { return mId.c_str(); }
    bool seek(long, Position, IError**) override { return false; }
    std::int64_t position(IError**) override { return static_cast<std::int64_t>(mAt); }
    std::int64_t size(IError**) override { return static_cast<std::int64_t>(mText.size()); }
    bool eof(IError**) override { return mAt == mText.size(); }
    // A few bytes at a time, as a pipe would give them.
    bool read(void* buffer, unsigned long count, unsigned long& done, IError**) override {
        done = std::min({count, 7ul, static_cast<unsigned long>(mText.size() - mAt)});
        std::memcpy(buffer, mText.data() + mAt, done);
        mAt += done;
        return true;
    }
    bool readLine(char*, unsigned long, IError**) override { return false; }
    bool readLineUnicode(wchar_t*, unsigned long, IError**) override { return false; }
    bool readDouble(double&, IError**) override { return false; }
    bool setvbuf(BufferingMode, int, IError**) override { return false; }
    bool write(const void*, unsigned long, IError**) override { return false; }
    bool writeLine(const char*, IError**) override { return false; }
    bool writeLineUnicode(const wchar_t*, IError**) override { return false; }
    bool flush(IError**) override { return false; }

private:
    std::string mId, mText;
    std::size_t mAt = 0;
};

class MemoryAccessor : public TAddRefImpl<IFileAccessor> {
public:
    std::map<std::string, std::string> files;

    bool is(_GUID id) const override { return answers<IFileAccessor, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IFileAccessor, IObject>(id, this, object); }
    bool resolvePath(const char*, const char*, char*, int) override { return false; }
    bool location(const char*, char*, int) override { return false; }
    IFileEnumerator* enumerator(bool, IError**) override { return nullptr; }
    IFileEnumerator* enumerator(const char**, bool, IError**) override { return nullptr; }
    IFileEnumerator* enumerator(const char*, const char**, bool, IError**) override { return nullptr; }
    bool exists(const char* name, IError**) override { return files.count(name) > 0; }
    bool isSupported(const char*, OpenMode mode, AccessMode) override { return mode == Open; }
    IFile* open(const char* name, OpenMode mode, AccessMode access, DataMode data, IError**) override {
        const auto file = files.find(name);
        const bool isKnown = file != files.end() && mode == Open && access == Read && data == Text;
        return isKnown ? new MemoryFile(name, file->second) : nullptr;
    }
};

class Prices : public Plain<IPriceStream> {
public:
    explicit Prices(unsigned long count = 0) {
        for (unsigned long i = 0; i < count; ++i) add(static_cast<double>(i));
    }
    // A bar whose columns are close + 0.1 × the column's number.
    void add(double close) {
        for (int i = 0; i < 6; ++i) columns[i].push_back(close + 0.1 * (i - Close));
    }
    const char* instrument() override { return "EUR/USD"; }
    unsigned long size() override { return columns[0].size(); }
    const double* column(Column column) override { return columns[column].data(); }

    std::vector<double> columns[6];
};

class Host : public Plain<IHost> {
public:
    void log(const char* text) override {
        if (throws) throw std::runtime_error("the log is full");
        lines.emplace_back(text);
    }
    IPriceStream* getPrices() override { return prices; }

    std::vector<std::string> lines;
    IPriceStream* prices = nullptr;
    bool throws = false;
};

struct Parameter {
    std::string id;
    IParameters::Type type;
    double number;
    std::string text;
};

class Parameters : public Plain<IParameters> {
public:
    Parameters() = default;
    Parameters(std::initializer_list<Parameter> given) : all(given) {}
    unsigned long count() override { return all.size(); }
    const char* id(unsigned long i) override { return all[i].id.c_str(); }
    Type type(unsigned long i) override { return all[i].type; }
    double number(unsigned long i) override { return all[i].number; }
    const char* text(unsigned long i) override { return all[i].text.c_str(); }

    std::vector<Parameter> all;
};

// Records what a script declares as lines of text.
class Factory : public Plain<IParametersFactory> {
public:
    explicit Factory(std::vector<std::string>& calls) : mCalls(calls) {}
    bool addInteger(const char* id, const char* name, int value, int low, int high) override {
        return add(std::string("integer ") + id + " " + name, {double(value), double(low), double(high)});
    }
    bool addDouble(const char* id, const char* name, double value, double low, double high) override {
        return add(std::string("double ") + id + " " + name, {value, low, high});
    }
    bool addBoolean(const char* id, const char* name, bool value) override {
        return add(std::string("boolean ") + id + " " + name, {double(value)});
    }
    bool addString(const char* id, const char* name, const char* value) override {
        return add(std::string("string ") + id + " " + name + " " + value, {});
    }
    bool accepts = true;

private:
    bool add(std::string text, std::initializer_list<double> numbers) {
        for (const double number : numbers) text += " " + std::to_string(static_cast<long>(number));
        mCalls.push_back(std::move(text));
        return accepts;
    }
    std::vector<std::string>& mCalls;
};

// A profile callback, but for the kind's own operations. Callback is the kind's interface.
template <class Callback>
class ProfileBase : public Plain<Callback> {
public:
    ILanguageService::ObjectType getType() override { return ILanguageService::Unknown; }
    ILanguageService::Language getLanguage() override { return ILanguageService::Lua; }
    const char* getObjectID() override { return "script"; }
    const char* getID() override { return ""; }
    const char* getName() override { return ""; }
    const char* getDescription() override { return ""; }
    IParameters* getParameters() override { return nullptr; }
    const char* getTags() override { return ""; }
    bool isPublic() override { return true; }
    IFileAccessor* getFileAccessor() override { return nullptr; }
    int activeInstances() override { return 0; }
    const char* getDomain() override { return ""; }
    IHost* getHost() override { return &host; }

    void setID(const char* id) override { calls.push_back(std::string("setID ") + id); }
    void setName(const char* name) override { calls.push_back(std::string("setName ") + name); }
    void setDescription(const char* text) override { calls.push_back(std::string("setDescription ") + text); }
    IPermissions* getPermissions() override { return nullptr; }

    Host host;
    std::vector<std::string> calls;
    Factory factory{calls};
};

class IndicatorProfile : public ProfileBase<IIndicatorProfileCallback> {
public:
    RequiredSource getRequiredSource() override { return Bar; }
    IndicatorType getIndicatorType() override { return Indicator; }
    IObject* createInstance(IHost*, IPriceStream*, IParameters*) override { return nullptr; }
    IParametersFactory* getParametersFactory() override { return &factory; }
    void setRequiredSource(RequiredSource s) override { calls.push_back("setRequiredSource " + std::to_string(s)); }
    void setIndicatorType(IndicatorType t) override { calls.push_back("setIndicatorType " + std::to_string(t)); }
};

class StrategyProfile : public ProfileBase<IStrategyProfileCallback> {
public:
    StrategyType getStrategyType() override { return Signal; }
    IObject* createInstance(IHost*, IPriceStream*, IPriceStream*, IParameters*) override { return nullptr; }
    IParametersFactory* getParametersFactory() override { return &factory; }
    void setStrategyType(StrategyType t) override { calls.push_back("setStrategyType " + std::to_string(t)); }
};

class ToolProfile : public ProfileBase<IToolProfileCallback> {
public:
    struct Creation : Plain<ICreationStrategyCallback> {
        explicit Creation(std::vector<std::string>& list) : calls(list) {}
        int getPointCount() override { return 0; }
        void setPointCount(int count) override { calls.push_back("setPointCount " + std::to_string(count)); }
        std::vector<std::string>& calls;
    };
    ICreationStrategy* getCreationStrategy() override { return nullptr; }
    IObject* createInstance(IHost*, IParameters*) override { return nullptr; }
    const char* getIcon() override { return ""; }
    IconStatus getIconStatus(IHost*) override { return IconEnabled; }
    ICreationStrategyCallback* getCreationStrategyCallback() override { return &creation; }
    IParametersFactory* getParametersFactory() override { return &factory; }
    void setIcon(const char* icon) override { calls.push_back(std::string("setIcon ") + icon); }
    Creation creation{calls};
};

class MacroProfile : public ProfileBase<IMacroProfileCallback> {
public:
    IObject* createInstance(IHost*) override { return nullptr; }
    const char* getIcon() override { return ""; }
    const char* getTooltip() override { return ""; }
    IconStatus getIconStatus(IHost*) override { return IconEnabled; }
    void setIcon(const char* icon) override { calls.push_back(std::string("setIcon ") + icon); }
    void setTooltip(const char* text) override { calls.push_back(std::string("setTooltip ") + text); }
};

template <class Callback>
class InstanceBase : public Plain<Callback> {
public:
    IProfile* getProfile() override { return nullptr; }
    IHost* getHost() override { return &host; }
    IParameters* getParameters() override { return &parameters; }

    Host host;
    Parameters parameters;
};

class IndicatorInstance : public InstanceBase<IIndicatorInstanceCallback> {
public:
    IPriceStream* getSource() override { return &source; }
    bool addStream(const char* id, const char*, IStreamValues* values) override {
        return streams.emplace(id, values).second;
    }
    std::vector<double> values(const std::string& id) {
        std::vector<double> all(source.size());
        streams.at(id)->copy(0, all.size(), all.data());
        return all;
    }
    Prices source;
    std::map<std::string, IStreamValues*> streams;
};

class StrategyInstance : public InstanceBase<IStrategyInstanceCallback> {
public:
    IPriceStream* getBid() override { return &bid; }
    IPriceStream* getAsk() override { return &ask; }
    int getPeriod() override { return period; }
    bool buy(double amount, IError** error) override { return trade(amount, error); }
    bool sell(double amount, IError** error) override { return trade(-amount, error); }
    double getPosition() override { return held; }

    Prices bid, ask;
    int period = -1;
    double held = 0;

private:
    bool trade(double amount, IError** error) {
        held += amount;
        if (std::abs(held) <= 10) return true;
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNotSupported, "no margin left");
        return false;
    }
};

class ToolInstance : public InstanceBase<IToolInstanceCallback> {
public:
    IPriceStream* getPrices() override { return &prices; }
    Prices prices;
};

class MacroInstance : public InstanceBase<IMacroInstanceCallback> {};

class Args : public Plain<IExecutableArgs> {
public:
    Args() = default;
    Args(std::initializer_list<double> numbers) : given(numbers) {}
    ~Args() override { setError(nullptr); }
    unsigned long count() override { return given.size(); }
    ValueType type(unsigned long) override { return Number; }
    double number(unsigned long i) override { return given[i]; }
    const char* text(unsigned long) override { return ""; }
    void setNothing() override { result = "nothing"; }
    void setBoolean(bool value) override { result = value ? "true" : "false"; }
    void setNumber(double value) override { result = std::to_string(static_cast<long>(value)); }
    void setText(const char* value) override { result = value; }
    bool isSucceeded() override { return !error; }
    void setError(IError* value) override { Ref<IError>::share(value).swap(error); }
    IError* getError() override { return Ref<IError>::share(error.get()).detach(); }

    std::vector<double> given;
    std::string result;
    Ref<IError> error;
};

class Values : public Plain<IValueMap> {
public:
    unsigned long count() override { return 1; }
    const char* name(unsigned long) override { return "order"; }
    const char* value(unsigned long) override { return "filled"; }
};

class Canvas : public Plain<IOwnerDrawnContext> {
public:
    void line(double a, double b, double c, double d, std::uint32_t color) override {
        add("line", {a, b, c, d}, color);
    }
    void rectangle(double a, double b, double c, double d, std::uint32_t color) override {
        add("rectangle", {a, b, c, d}, color);
    }
    void text(double a, double b, const char* text, std::uint32_t color) override { add(text, {a, b}, color); }
    std::vector<std::string> drawn;

private:
    void add(std::string what, std::initializer_list<double> at, std::uint32_t color) {
        for (const double number : at) what += " " + std::to_string(static_cast<long>(number));
        drawn.push_back(what + " #" + std::to_string(color));
    }
};

class Debugger : public Plain<IDebugger> {
public:
    void objectCreated(IObjectNoRef* object) override { created.push_back(object); }
    int lineExecuting(IObjectNoRef* object, IDebuggerCallback* callback, const char* file, int line) override {
        objects.push_back(object);
        lines.emplace_back(std::string(file) + ":" + std::to_string(line));
        return onLine ? onLine(callback, line) : 1;
    }
    std::vector<IObjectNoRef*> created, objects;
    std::vector<std::string> lines;
    std::function<int(IDebuggerCallback*, int)> onLine;
};

}  // namespace vexil3::test
