// Errors as values that a test can compare and print.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <vexil3/error.h>
#include <vexil3/identify.h>
#include <vexil3/ref.h>

namespace vexil3::test {

inline const std::string kNone = "(null)";

struct Fault {
    int stage = 0;
    int code = 0;
    std::string message;
    std::string file = kNone;
    int line = 0;
    int column = 0;

    bool operator==(const Fault&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const Fault& fault) {
    return stream << '{' << fault.stage << ", " << fault.code << ", \"" << fault.message << "\", " << fault.file << ':'
                  << fault.line << ':' << fault.column << '}';
}

inline std::vector<Fault> faults(IError* error) {
    std::vector<Fault> all;
    for (std::uint64_t i = 0; error && i < error->count(); ++i) {
        const Ref<IErrorEntry> entry(error->get(i));
        all.push_back({entry->stage(), entry->code(), entry->message() ? entry->message() : kNone,
                       entry->file() ? entry->file() : kNone, entry->line(), entry->column()});
    }
    return all;
}

inline std::vector<Fault> faults(const Ref<IError>& error) { return faults(error.get()); }

inline Ref<IError> makeError(const std::vector<Fault>& entries) {
    Ref<IError> error;
    IError** slot = error.out();
    for (const Fault& fault : entries)
        ErrorFactory::throwError(slot, static_cast<IError::ErrorStage>(fault.stage),
                                 static_cast<IError::ErrorCode>(fault.code), fault.message.c_str(),
                                 fault.file == kNone ? nullptr : fault.file.c_str(), fault.line, fault.column);
    return error;
}

// An error whose maker had no memory for its entries.
class HollowError final : public TAddRefImpl<IError> {
public:
    bool is(_GUID id) const override { return answers<IError, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IError, IObject>(id, this, object); }
    std::uint64_t count() override { return 2; }
    IErrorEntry* get(std::uint64_t) override { return nullptr; }
};

}  // namespace vexil3::test
