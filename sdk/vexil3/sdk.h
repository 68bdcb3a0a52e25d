// The whole host SDK.
#pragma once

#include <basekit3/mutex.h>
#include <vexil3/debugger.h>
#include <vexil3/diagnostics.h>
#include <vexil3/error.h>
#include <vexil3/executable.h>
#include <vexil3/file_system_accessor.h>
#include <vexil3/files.h>
#include <vexil3/guid.h>
#include <vexil3/host.h>
#include <vexil3/identify.h>
#include <vexil3/indicator.h>
#include <vexil3/language.h>
#include <vexil3/language_service.h>
#include <vexil3/localization.h>
#include <vexil3/macro.h>
#include <vexil3/object.h>
#include <vexil3/profile.h>
#include <vexil3/ref.h>
#include <vexil3/strategy.h>
#include <vexil3/strings.h>
#include <vexil3/tool.h>
