// Puts the translation service together.
#pragma once

#include <vexil3/guid.h>

#include "translation/IProcessRunner.h"

namespace vexil3::js {

class VEXIL_API ProcessRunnerFactory {
public:
    // A new runner for one translation: the external translator behind the cache. [owned: delete it]
    // Throws when the cache directory cannot be created.
    static IProcessRunner* create();
};

}  // namespace vexil3::js
