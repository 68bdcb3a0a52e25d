// The module's own messages.
#pragma once

#include <atomic>
#include <string>

#include <vexil3/guid.h>

namespace vexil3 {

class ILocalizationSource;

// Twelve texts, each with a message ID under which a host may supply a translation and with an
// English default. They are loaded by init or by whoever asks first, and stay until init or deinit.
// [any thread], but nobody may use a text while init or deinit replaces it.
class VEXIL_API Resources {
public:
    // Loads all texts anew; `source` may be null, and must not ask for a text itself.
    static void init(ILocalizationSource* source);
    static void deinit();

    // A new string with the source's text for `messageID`, or a copy of `defaultText` where there is
    // none; null when memory ran out. [owned: delete[]] Asks the source only while gLoadBuffer exists.
    static char* loadString(ILocalizationSource* source, int messageID, const char* defaultText);

    // Zero-terminated, valid until the next init or deinit.
    static const char* getErrorIndexOutOfBounds();
    static const char* getErrorOperationNotSupported();
    static const char* getErrorNULL();
    static const char* getErrorUTF8();
    static const char* getErrorCantRead();
    static const char* getErrorOpenPipe();
    static const char* getErrorProcessTerminated();
    static const char* getErrorIsBusy();
    static const char* getErrorLUA();
    static const char* getErrorEmptyFile();
    static const char* getErrorClasspath();
    // The text with the file's name in it, cut to 4095 bytes. Valid until the calling thread asks
    // again.
    static const char* getErrorCantOpen(const char* fileName);

    // True while the texts are loaded.
    static std::atomic<bool> gInit;
    // 32768 bytes while init runs, else null.
    static char* gLoadBuffer;

    static char* mErrorIndexOutOfBounds;
    static char* mErrorOperationNotSupported;
    static char* mErrorNULL;
    static char* mErrorUTF8;
    static char* mErrorCantOpen;
    static char* mErrorCantRead;
    static char* mErrorOpenPipe;
    static char* mErrorProcessTerminated;
    static char* mErrorIsBusy;
    static char* mErrorLUA;
    static char* mErrorEmptyFile;
    static char* mErrorClasspath;

    // What getErrorCantOpen formatted last, on whatever thread.
    static std::string mLastParameterError;
};

}  // namespace vexil3
