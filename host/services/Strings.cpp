#include <exception>
#include <new>
#include <string>

#include <vexil3/object.h>
#include <vexil3/strings.h>

namespace vexil3 {

namespace {

class String final : public IString {
public:
    bool is(_GUID id) const override { return id == IString::ID || id == IObjectNoRef::ID; }
    bool to(_GUID id, void** object) const override {
        *object = is(id) ? const_cast<String*>(this) : nullptr;
        return *object != nullptr;
    }

    void assign(const char* text) override {
        try {
            mText = text ? text : "";
        } catch (const std::exception&) {
            // No value rather than the one before.
            mText.clear();
        }
    }
    const char* text() override { return mText.c_str(); }

private:
    std::string mText;
};

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

IString* IString::create() { return new (std::nothrow) String; }

void IObjectNoRef::releaseIfNeeded() { delete this; }

bool StringUtil::like(const char* pattern, const char* name) {
    if (!pattern || !name) return false;
    // Only the last star can be worth another try: a shorter run for an earlier one gains nothing.
    const char* afterStar = nullptr;
    const char* retry = nullptr;
    while (*name) {
        if (*pattern == '*') {
            afterStar = ++pattern;
            retry = name;
        } else if (*pattern && (*pattern == '?' || lower(*pattern) == lower(*name))) {
            ++pattern;
            ++name;
        } else if (afterStar) {
            pattern = afterStar;
            name = ++retry;
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == '\0';
}

}  // namespace vexil3
