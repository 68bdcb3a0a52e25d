// Pairs of measurements in one process: ours, and the least that the same work can cost. The program
// beside this one pairs them by name and prints the ratios.
#include <benchmark/benchmark.h>
#include <openssl/md5.h>
#include <utf8.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "adapters/IndicatorInstanceImplementation.h"
#include "files/JsFile.h"
#include "files/LineListing.h"
#include "lines/ErrorLines.h"
#include "lines/JSDebugger.h"
#include "lines/JSDebuggerCallback.h"
#include "translation/MD5Calc.h"

using namespace vexil3;
using namespace vexil3::js;

namespace {

constexpr std::size_t kMiB = 1024 * 1024;

// --- digest

void digestOurs(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        MD5Calc calc;
        calc.update(text.data(), static_cast<unsigned int>(text.size()));
        calc.finalize();
        benchmark::DoNotOptimize(calc.hexdigest());
    }
}

void digestReference(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        unsigned char digest[MD5_DIGEST_LENGTH];
        MD5(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest);
        std::string hex;
        for (const unsigned char byte : digest) {
            hex += "0123456789abcdef"[byte >> 4];
            hex += "0123456789abcdef"[byte & 15];
        }
        benchmark::DoNotOptimize(hex);
    }
}

BENCHMARK(digestOurs)->Name("digest/ours")->Arg(40)->Arg(64 * kMiB);
BENCHMARK(digestReference)->Name("digest/reference")->Arg(40)->Arg(64 * kMiB);

// --- adapter calls, line events, call stack frames

class Instance : public TAddRefImpl<IIndicatorInstanceImplementation> {
public:
    bool is(_GUID) const override { return false; }
    bool to(_GUID, void**) const override { return false; }
    bool findMember(const char*, int*, MemberType*) override { return false; }
    void invoke(int, InvokeType, IObjectNoRef*, IExecutableArgs*) override {}
    bool isArray() override { return false; }
    bool init(IIndicatorInstanceCallback*, IError**) override { return true; }
    bool prepare(bool, IError**) override { return true; }
    bool update(int period, UpdateType, IError**) override {
        benchmark::DoNotOptimize(mLast = period);
        return true;
    }
    bool notifyFinished(int, IValueMap*, IError**) override { return true; }
    bool releaseInstance(IError**) override { return true; }
    bool draw(IOwnerDrawnContext::Stage, IOwnerDrawnContext*, IError**) override { return true; }

private:
    int mLast = 0;
};

void update(benchmark::State& state, IIndicatorInstanceImplementation* instance) {
    benchmark::DoNotOptimize(instance);
    IError* error = nullptr;
    int period = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(instance->update(++period, IIndicatorInstanceImplementation::AddBar, &error));
}

void adapterOurs(benchmark::State& state) {
    FileLinesCache cache;
    const Ref<Instance> inner(new Instance);
    const Ref<IndicatorInstanceImplementation> adapter(new IndicatorInstanceImplementation(inner.get(), &cache));
    update(state, adapter.get());
}

void adapterReference(benchmark::State& state) {
    const Ref<Instance> inner(new Instance);
    update(state, inner.get());
}

BENCHMARK(adapterOurs)->Name("adapter/ours");
BENCHMARK(adapterReference)->Name("adapter/reference");

class Frames : public IDebuggerCallback {
public:
    bool is(_GUID) const override { return false; }
    bool to(_GUID, void**) const override { return false; }
    bool calculateWatch(const char*, IString*, IString*, IError**) override { return false; }
    bool prepareCallStack(bool) override { return true; }
    unsigned long callStackDepth() override { return 1; }
    bool getCallStackFrame(unsigned long, IString*, IString*, IString*, int& line) override {
        line = 50;
        return true;
    }
    bool prepareVarList(bool) override { return true; }
    unsigned long varCount() override { return 0; }
    const char* varName(unsigned long) override { return ""; }
};

class Listener : public IDebugger {
public:
    bool is(_GUID) const override { return false; }
    bool to(_GUID, void**) const override { return false; }
    void objectCreated(IObjectNoRef*) override {}
    int lineExecuting(IObjectNoRef*, IDebuggerCallback*, const char*, int line) override {
        benchmark::DoNotOptimize(line);
        return 1;
    }
};

std::vector<int> tableOf(long length) {
    std::vector<int> table(static_cast<std::size_t>(length));
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<int>(i / 2);
    return table;
}

void event(benchmark::State& state, IDebugger* debugger) {
    benchmark::DoNotOptimize(debugger);
    Frames frames;
    for (auto _ : state) benchmark::DoNotOptimize(debugger->lineExecuting(nullptr, &frames, "@scripts/study.jsl", 99));
}

void eventOurs(benchmark::State& state) {
    FileLinesCache cache;
    std::vector<int> table = tableOf(state.range(0));
    cache.add("scripts/study.jsl", table);
    Listener listener;
    JSDebugger bridge(&cache);
    bridge.setDebugger(&listener);
    event(state, &bridge);
}

void eventReference(benchmark::State& state) {
    Listener listener;
    event(state, &listener);
}

BENCHMARK(eventOurs)->Name("event/ours")->Arg(100)->Arg(10'000)->Arg(1'000'000);
BENCHMARK(eventReference)->Name("event/reference");

// An event in one of many files that the language holds.
void eventAmong(benchmark::State& state) {
    FileLinesCache cache;
    std::vector<int> table = tableOf(300);
    for (long i = 0; i < state.range(0); ++i) cache.add(("scripts/s" + std::to_string(i) + ".jsl").c_str(), table);
    cache.add("scripts/study.jsl", table);
    Listener listener;
    JSDebugger bridge(&cache);
    bridge.setDebugger(&listener);
    event(state, &bridge);
}
BENCHMARK(eventAmong)->Name("event-among/ours")->Arg(1)->Arg(100)->Arg(10'000);

void lookupAmong(benchmark::State& state) {
    FileLinesCache cache;
    std::vector<int> table = tableOf(300);
    for (long i = 0; i < state.range(0); ++i) cache.add(("scripts/s" + std::to_string(i) + ".jsl").c_str(), table);
    cache.add("scripts/study.jsl", table);
    for (auto _ : state) {
        int line = 99;
        benchmark::DoNotOptimize(cache.getLine("scripts/study.jsl", line));
    }
}
BENCHMARK(lookupAmong)->Name("lookup-among/ours")->Arg(1)->Arg(100)->Arg(10'000);

void frame(benchmark::State& state, IDebuggerCallback* callback) {
    benchmark::DoNotOptimize(callback);
    for (auto _ : state) {
        int line = 0;
        benchmark::DoNotOptimize(callback->getCallStackFrame(0, nullptr, nullptr, nullptr, line));
    }
}

void frameOurs(benchmark::State& state) {
    FileLinesCache cache;
    Frames frames;
    JSDebuggerCallback callback(&cache, &frames);
    std::vector<int> table = tableOf(1000);
    callback.setLines(table);
    frame(state, &callback);
}

void frameReference(benchmark::State& state) {
    Frames frames;
    frame(state, &frames);
}

BENCHMARK(frameOurs)->Name("frame/ours");
BENCHMARK(frameReference)->Name("frame/reference");

// --- error rewriting

// A traceback of about `size` bytes, as the Lua module writes them.
std::string traceback(std::size_t size) {
    std::string text = "scripts/study.jsl:812: attempt to call a nil value\nstack traceback:";
    for (int line = 1; text.size() < size; line = line % 900 + 7)
        text += "\n\tscripts/study.jsl:" + std::to_string(line) + ": in function 'average'";
    return text;
}

void rewritingOurs(benchmark::State& state) {
    FileLinesCache cache;
    std::vector<int> table = tableOf(1000);
    cache.add("scripts/study.jsl", table);
    Ref<IError> source;
    ErrorFactory::throwError(source.out(), IError::StageScript, IError::CodeScriptFault,
                             traceback(static_cast<std::size_t>(state.range(0))).c_str(), "scripts/study.jsl", 812);
    for (auto _ : state) {
        Ref<IError> error;
        updateErrorLines(error.out(), source.get(), &cache, "scripts/study.jsl");
        benchmark::DoNotOptimize(error.get());
    }
}

void rewritingReference(benchmark::State& state) {
    const std::string text = traceback(static_cast<std::size_t>(state.range(0)));
    const std::string marker = ".jsl:";
    for (auto _ : state) {
        const char* at = text.data();
        const char* const end = at + text.size();
        std::size_t found = 0;
        while (const void* next = memmem(at, static_cast<std::size_t>(end - at), marker.data(), marker.size())) {
            at = static_cast<const char*>(next) + marker.size();
            ++found;
        }
        benchmark::DoNotOptimize(found);
        std::string copy(text);
        benchmark::DoNotOptimize(copy.data());
    }
}

BENCHMARK(rewritingOurs)->Name("rewriting/ours")->Arg(1024)->Arg(64 * 1024)->Arg(4 * kMiB);
BENCHMARK(rewritingReference)->Name("rewriting/reference")->Arg(1024)->Arg(64 * 1024)->Arg(4 * kMiB);

// --- reading

const std::string& luaText() {
    static const std::string text = [] {
        std::string lines;
        std::mt19937 random(1);
        while (lines.size() < 10 * kMiB) {
            lines += "  local value" + std::to_string(random() % 1000) + " = close[period - " +
                     std::to_string(random() % 50) + "] * factor";
            if (random() % 50 == 0) lines += " -- größer";
            lines += '\n';
        }
        return lines;
    }();
    return text;
}

Ref<JsFile> luaFile() {
    std::vector<int> none;
    return Ref<JsFile>(new JsFile("study.jsl", luaText().c_str(), none, IFileAccessor::Open, IFileAccessor::Read,
                                  IFileAccessor::Text));
}

// Steps as a host does, until one delivers nothing.
template <class Step>
void reading(benchmark::State& state, Step step) {
    const Ref<JsFile> file = luaFile();
    for (auto _ : state) {
        file->seek(0, IFile::FromBegin, nullptr);
        while (step(file.get())) {
        }
    }
}

constexpr unsigned long kPiece = 64 * 1024;
constexpr unsigned long kLine = 1024;

void readOurs(benchmark::State& state) {
    std::vector<char> buffer(kPiece);
    reading(state, [&](JsFile* file) {
        unsigned long done = 0;
        file->read(buffer.data(), kPiece, done, nullptr);
        benchmark::DoNotOptimize(buffer.data());
        return done > 0;
    });
}

void readReference(benchmark::State& state) {
    std::vector<char> buffer(kPiece);
    const std::string text = luaText();
    for (auto _ : state)
        for (std::size_t at = 0; at < text.size(); at += kPiece) {
            std::memcpy(buffer.data(), text.data() + at, std::min(kPiece, text.size() - at));
            benchmark::DoNotOptimize(buffer.data());
            benchmark::ClobberMemory();
        }
}

void readLineOurs(benchmark::State& state) {
    char buffer[kLine];
    reading(state, [&](JsFile* file) {
        file->readLine(buffer, kLine, nullptr);
        benchmark::DoNotOptimize(buffer);
        return buffer[0] != '\0';
    });
}

void readLineReference(benchmark::State& state) {
    char buffer[kLine];
    const std::string text = luaText();
    for (auto _ : state)
        for (const char *at = text.data(), *end = at + text.size(); at != end;) {
            const void* feed = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
            const char* next = feed ? static_cast<const char*>(feed) + 1 : end;
            const std::size_t length = static_cast<std::size_t>(next - at);
            std::memcpy(buffer, at, length);
            buffer[length] = '\0';
            benchmark::DoNotOptimize(buffer);
            benchmark::ClobberMemory();
            at = next;
        }
}

void readUnicodeOurs(benchmark::State& state) {
    std::vector<wchar_t> buffer(kLine);
    reading(state, [&](JsFile* file) {
        file->readLineUnicode(buffer.data(), kLine, nullptr);
        benchmark::DoNotOptimize(buffer.data());
        return buffer[0] != 0;
    });
}

void readUnicodeReference(benchmark::State& state) {
    const std::string text = luaText();
    std::vector<wchar_t> buffer(text.size());
    for (auto _ : state) benchmark::DoNotOptimize(utf8::utf8to32(text.begin(), text.end(), buffer.begin()));
}

BENCHMARK(readOurs)->Name("read/ours");
BENCHMARK(readReference)->Name("read/reference");
BENCHMARK(readLineOurs)->Name("readLine/ours");
BENCHMARK(readLineReference)->Name("readLine/reference");
BENCHMARK(readUnicodeOurs)->Name("readLineUnicode/ours");
BENCHMARK(readUnicodeReference)->Name("readLineUnicode/reference");

// --- line listing

std::string listing(long rows) {
    std::string text;
    for (long i = 0; i < rows; ++i) text += std::to_string(i / 2) + "\n";
    return text;
}

void listingOurs(benchmark::State& state) {
    const std::string text = listing(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(parseLineListing(text).data());
}

void listingReference(benchmark::State& state) {
    const std::string text = listing(state.range(0));
    for (auto _ : state) {
        std::vector<int> table;
        for (const char *at = text.data(), *end = at + text.size(); at < end; ++at) {
            int number = 0;
            at = std::from_chars(at, end, number).ptr;
            table.push_back(number);
        }
        benchmark::DoNotOptimize(table.data());
    }
}

BENCHMARK(listingOurs)->Name("listing/ours")->Arg(1'000'000);
BENCHMARK(listingReference)->Name("listing/reference")->Arg(1'000'000);

}  // namespace

BENCHMARK_MAIN();
