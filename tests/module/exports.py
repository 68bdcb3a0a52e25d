#!/usr/bin/env python3
"""Compares what the module exports with what its contract names: exports.py LIBRARY"""
import re
import subprocess
import sys

KINDS = ["Indicator", "Strategy", "Tool", "Macro"]
WITH_ID = ["JsLanguage", "JsFile", "JsFileAccessor", "JSDebugger", "JSDebuggerCallback"] + [
    kind + part for kind in KINDS for part in ("ProfileCallback", "ProfileImplementation", "InstanceImplementation")]
CLASSES = WITH_ID + ["FileLinesCache", "MD5Calc", "ProcessResult", "IProcessRunner", "UnixProcessRunner",
                     "CacheProcessRunner", "ProcessRunnerFactory",
                     "ErrorMapper"]  # what the adapters' headers call
TEXTS = ["IndexOutOfBounds", "OperationNotSupported", "NULL", "UTF8", "CantOpen", "CantRead", "OpenPipe",
         "ProcessTerminated", "IsBusy", "LUA", "EmptyFile", "Classpath"]

REQUIRED = ({"createLanguage", "vexil3::Resources::init", "vexil3::Resources::deinit", "vexil3::Resources::loadString",
             "vexil3::Resources::gInit", "vexil3::Resources::gLoadBuffer", "vexil3::Resources::mLastParameterError"}
            | {f"vexil3::js::{name}::ID" for name in WITH_ID}
            | {f"vtable for vexil3::js::{name}" for name in WITH_ID + ["UnixProcessRunner", "CacheProcessRunner"]}
            | {f"vexil3::Resources::getError{text}" for text in TEXTS}
            | {f"vexil3::Resources::mError{text}" for text in TEXTS}
            | {"vexil3::js::" + name for name in (
                "JsLanguage::updateCache", "JsLanguage::convertError", "JsFile::getLines", "JsFile::getSource",
                "FileLinesCache::add", "FileLinesCache::getLine", "FileLinesCache::getFileLines",
                "JSDebugger::setDebugger", "JSDebuggerCallback::setLines", "ProcessRunnerFactory::create",
                "CacheProcessRunner::loadFile", "CacheProcessRunner::writeFile", "CacheProcessRunner::calcMD5",
                "CacheProcessRunner::externalLoad", "MD5Calc::hexdigest", "UnixProcessRunner::readFromPipe")})

ALLOWED = re.compile(
    r"createLanguage$|((vtable|typeinfo|typeinfo name) for |(non-)?virtual thunk to )?"
    r"vexil3::(Resources|js::(" + "|".join(CLASSES) + r"))(::~?\w+)?$")


def exported(library):
    listing = subprocess.run(["nm", "-D", "-C", "--defined-only", library], check=True, capture_output=True, text=True)
    for line in listing.stdout.splitlines():
        name = re.sub(r"\[abi:\w+\]", "", line.split(maxsplit=2)[2])
        yield re.sub(r"\(.*\)( const)?$", "", name)


names = set(exported(sys.argv[1]))
surplus = sorted(name for name in names if not ALLOWED.match(name))
missing = sorted(REQUIRED - names)
for name in surplus:
    print("exported, but not by contract:", name)
for name in missing:
    print("not exported:", name)
sys.exit(bool(surplus or missing))
