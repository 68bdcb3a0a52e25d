-- Runs a translated script under plain luajit, in a sandbox like the host's:
--   luajit shim.lua LIBRARY_FOLDER SCRIPT.lua
-- log() and an uncaught error's text go to standard output, the error's Lua frames to standard error.
-- The exit code is 1 after an uncaught error.
jit.opt.start("-abc", "-fuse") -- as the host does
local folder, path = arg[1], arg[2]
local name = path:match("[^/]+$")
local getinfo = debug.getinfo
local describe

-- The script's own calls only, as the host reports them: the library's frames are left out.
local function frames()
  local rows = {}
  for level = 2, 1e9 do
    local info, caller = getinfo(level, "Sl"), getinfo(level + 1, "S")
    if not info then return table.concat(rows) end
    if info.source == "@" .. name then
      -- A library calls functions by names of its own.
      local called = caller and caller.source == info.source and getinfo(level, "n").name or ""
      rows[#rows + 1] = string.format("%d %d %s\0", info.currentline, info.linedefined, called)
    end
  end
end

local platform = {
  setmetatable = debug.setmetatable,
  frames = frames,
  file = name,
  onError = function(f) describe = f end,
  functionInfo = function(f)
    local info = getinfo(f, "Su")
    if info.source == "@" .. name then return info.linedefined, info.nparams end
  end,
  now = function() return os.time() * 1000 end,
  xpcall = xpcall,
}

local sandbox = {
  log = function(...) io.write(table.concat({ ... }, "\t"), "\n") end,
  string = string, table = table, math = math, bit = bit, coroutine = coroutine,
}
for word in ([[assert error getmetatable ipairs next pairs pcall rawequal rawget rawset select
    setmetatable tonumber tostring type unpack xpcall _VERSION]]):gmatch("%S+") do
  sandbox[word] = _G[word]
end
sandbox._G = sandbox

local function compile(file, chunkname)
  local input = assert(io.open(file, "rb"))
  local text = input:read("*a")
  input:close()
  local chunk, message = loadstring(text, chunkname)
  if not chunk then io.write("error: ", message, "\n") os.exit(1) end
  return setfenv(chunk, sandbox)
end

local loaded = {}
function sandbox.require(file)
  if loaded[file] == nil then
    assert(string.find(file, "jsMigration.lua", 1, true) and not string.find(file, "/", 1, true), file)
    loaded[file] = compile(folder .. "/" .. file, "@" .. file)(platform) or true
  end
  return loaded[file]
end

-- Takes the frames where the error was raised; the rest waits until the stack has room again.
local function raised(value) return { value = value, frames = frames() } end

local function report(error)
  if type(error) ~= "table" then error = { value = error, frames = "" } end
  local text, where = tostring(error.value), {}
  if describe then text, where = describe(error.value, error.frames) end
  io.write("error: ", text, "\n")
  for _, frame in ipairs(where) do
    io.stderr:write("  ", frame.name, " (", name, ":", frame.line, ")\n")
  end
end

local function run(f, ...)
  local arguments, count = { ... }, select("#", ...)
  local ok, error = xpcall(function() return f(unpack(arguments, 1, count)) end, raised)
  if ok then return end
  report(error)
  io.stdout:flush()
  os.exit(1)
end

-- What a declaring function may call on its profile: anything, to no effect.
local profile = setmetatable({}, { __index = function(self) return function() return self end end })

run(compile(path, "@" .. name))
if sandbox.macro then run(sandbox.macro, profile) end
if sandbox.execute then run(sandbox.execute) end
