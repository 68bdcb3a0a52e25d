#include "language/Resources.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include <vexil3/localization.h>

namespace vexil3 {

std::atomic<bool> Resources::gInit{false};
char* Resources::gLoadBuffer = nullptr;
char* Resources::mErrorIndexOutOfBounds = nullptr;
char* Resources::mErrorOperationNotSupported = nullptr;
char* Resources::mErrorNULL = nullptr;
char* Resources::mErrorUTF8 = nullptr;
char* Resources::mErrorCantOpen = nullptr;
char* Resources::mErrorCantRead = nullptr;
char* Resources::mErrorOpenPipe = nullptr;
char* Resources::mErrorProcessTerminated = nullptr;
char* Resources::mErrorIsBusy = nullptr;
char* Resources::mErrorLUA = nullptr;
char* Resources::mErrorEmptyFile = nullptr;
char* Resources::mErrorClasspath = nullptr;
std::string Resources::mLastParameterError;

namespace {

constexpr int kLoadBufferSize = 32768;
constexpr std::size_t kParameterErrorSize = 4096;

struct Message {
    int id;
    char** text;
    const char* defaultText;
};

const Message kMessages[] = {
    {51501, &Resources::mErrorIndexOutOfBounds, "Index is out of bounds."},
    {51502, &Resources::mErrorOperationNotSupported, "Operation is not supported."},
    {51503, &Resources::mErrorNULL, "Object is NULL"},
    {51504, &Resources::mErrorUTF8, "Not UTF-8 symbol"},
    {51505, &Resources::mErrorCantOpen, "Cannot open the file %s."},
    {51506, &Resources::mErrorCantRead, "Cannot read the file."},
    {51507, &Resources::mErrorOpenPipe, "Can't open pipe"},
    {51508, &Resources::mErrorProcessTerminated, "Process Terminated"},
    {51509, &Resources::mErrorIsBusy, "Is busy"},
    {51510, &Resources::mErrorLUA, "LUA not set"},
    {51511, &Resources::mErrorEmptyFile, "File is empty"},
    {51512, &Resources::mErrorClasspath, "Environment variable CLASSPATH not set"},
};

// Guards loading and mLastParameterError, not the texts themselves.
constinit std::mutex gLoading;

void freeTexts() {
    for (const Message& message : kMessages) {
        delete[] * message.text;
        *message.text = nullptr;
    }
    Resources::gInit.store(false, std::memory_order_release);
}

// gLoadBuffer, while this lives: a source may throw.
struct LoadBuffer {
    LoadBuffer() noexcept { Resources::gLoadBuffer = new (std::nothrow) char[kLoadBufferSize](); }
    ~LoadBuffer() { delete[] std::exchange(Resources::gLoadBuffer, nullptr); }
};

void loadTexts(ILocalizationSource* source) {
    freeTexts();
    const LoadBuffer buffer;
    for (const Message& message : kMessages)
        *message.text = Resources::loadString(source, message.id, message.defaultText);
    // Also where one found no memory: loading anew would free those that somebody holds by then.
    Resources::gInit.store(true, std::memory_order_release);
}

// Whether printf may be given the text with one string: "%s", any number of "%1$s", with or without a
// width and a precision.
// A translator's slip must not read what is not there.
bool takesOneString(const char* format) {
    int strings = 0;
    bool isNumbered = false;
    for (const char* at = std::strchr(format, '%'); at; at = std::strchr(at + 1, '%')) {
        if (*++at == '%') continue;
        const bool hasNumber = std::strncmp(at, "1$", 2) == 0;
        if (hasNumber) at += 2;
        at += std::strspn(at, "-.0123456789");
        if (*at != 's' || (++strings > 1 && !(hasNumber && isNumbered))) return false;
        isNumbered = hasNumber;
    }
    return true;
}

// The current text of a message, or its default where memory ran out while it was loaded: whoever
// reports an error must get some text.
const char* text(int id) {
    const Message& message = kMessages[id - kMessages[0].id];
    if (!Resources::gInit.load(std::memory_order_acquire)) {
        const std::lock_guard lock(gLoading);
        if (!Resources::gInit.load(std::memory_order_relaxed)) loadTexts(nullptr);
    }
    return *message.text ? *message.text : message.defaultText;
}

}  // namespace

void Resources::init(ILocalizationSource* source) {
    const std::lock_guard lock(gLoading);
    loadTexts(source);
}

void Resources::deinit() {
    const std::lock_guard lock(gLoading);
    freeTexts();
}

char* Resources::loadString(ILocalizationSource* source, int messageID, const char* defaultText) {
    const char* chosen = defaultText;
    if (source && gLoadBuffer && source->getString(messageID, gLoadBuffer, kLoadBufferSize)) {
        gLoadBuffer[kLoadBufferSize - 1] = '\0';
        chosen = gLoadBuffer;
    }
    const std::size_t size = std::strlen(chosen) + 1;
    char* copy = new (std::nothrow) char[size];
    if (copy) std::memcpy(copy, chosen, size);
    return copy;
}

const char* Resources::getErrorIndexOutOfBounds() { return text(51501); }
const char* Resources::getErrorOperationNotSupported() { return text(51502); }
const char* Resources::getErrorNULL() { return text(51503); }
const char* Resources::getErrorUTF8() { return text(51504); }
const char* Resources::getErrorCantRead() { return text(51506); }
const char* Resources::getErrorOpenPipe() { return text(51507); }
const char* Resources::getErrorProcessTerminated() { return text(51508); }
const char* Resources::getErrorIsBusy() { return text(51509); }
const char* Resources::getErrorLUA() { return text(51510); }
const char* Resources::getErrorEmptyFile() { return text(51511); }
const char* Resources::getErrorClasspath() { return text(51512); }

const char* Resources::getErrorCantOpen(const char* fileName) {
    // Not a string, whose destructor would keep the module from being unloaded.
    static thread_local char formatted[kParameterErrorSize];
    const char* const fallback = kMessages[51505 - kMessages[0].id].defaultText;
    const char* const format = text(51505);
    const char* const name = fileName ? fileName : "";
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    // A width that is too large makes it fail.
    if (!takesOneString(format) || std::snprintf(formatted, sizeof formatted, format, name) < 0)
        std::snprintf(formatted, sizeof formatted, fallback, name);
#pragma GCC diagnostic pop
    try {
        const std::lock_guard lock(gLoading);
        mLastParameterError = formatted;
    } catch (...) {
        // Without memory it keeps what it had.
    }
    return formatted;
}

}  // namespace vexil3
