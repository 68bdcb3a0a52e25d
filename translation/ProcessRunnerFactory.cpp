#include "translation/ProcessRunnerFactory.h"

#include "translation/CacheProcessRunner.h"
#include "translation/UnixProcessRunner.h"

namespace vexil3::js {

IProcessRunner* ProcessRunnerFactory::create() { return new CacheProcessRunner(new UnixProcessRunner); }

}  // namespace vexil3::js
