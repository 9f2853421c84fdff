-- Shows external subtitles right in mpv, whatever encoding they are in.
--
-- Put this file into mpv's folder of scripts, ~/.config/mpv/scripts/. It asks the zucharset command what each external
-- subtitle file is. One that is not UTF-8 already is shown from a converted copy, which lies in a private folder until
-- the file is closed; the subtitles of the user are left alone. Ctrl+e shows the current subtitles by the next reading
-- that makes sense of them.
--
-- Options, in ~/.config/mpv/script-opts/zucharset.conf or as --script-opts=zucharset-NAME=VALUE:
local options = {
    command = "zucharset", -- the command, a name on PATH or a path
    prefer = "", -- encodings and languages that are likelier than others: ru,windows-1251
    key = "Ctrl+e", -- shows the next reading; input.conf can bind script-binding zucharset/next-reading, too
    osd_seconds = 2, -- how long the screen says what was read as what
}

local utils = require "mp.utils"
require("mp.options").read_options(options, "zucharset")

-- These are pictures, and mpv opens them from files of text at most by an index.
local PICTURES = { dvd_subtitle = true, hdmv_pgs_subtitle = true, dvb_subtitle = true, xsub = true }
local EXTENSIONS = { srt = true, ass = true, ssa = true, sub = true, smi = true, vtt = true, txt = true }

-- ---- The screen ----

local waiting = {} -- lines for the screen, which is not there before the file is loaded
local loaded = false

local function flush()
    if loaded and #waiting > 0 then
        mp.osd_message(table.concat(waiting, "\n"), options.osd_seconds)
        waiting = {}
    end
end

local function say(line)
    mp.msg.info(line)
    waiting[#waiting + 1] = line
    flush()
end

-- ---- The command ----

-- What ran: standard output and error, or nil where there is no such command, which is said once.
local said_missing = false
local function run(arguments)
    table.insert(arguments, 1, options.command)
    local ran = mp.command_native({
        name = "subprocess", args = arguments, playback_only = false,
        capture_stdout = true, capture_stderr = true, capture_size = 16 * 1024 * 1024,
    })
    if ran.error_string ~= "init" then
        return ran
    end
    if not said_missing then
        said_missing = true
        say("Subtitles are shown as mpv guesses: the command " .. options.command .. " is missing. " ..
            "Install it, or set zucharset-command in script-opts.")
    end
    return nil
end

-- The last line of an error, without the name of the program before it.
local function reason(ran)
    return (ran.stderr:match("([^\n]+)\n*$") or "no reason given"):gsub("^zucharset: ", "")
end

-- What the command says of a file, in the terms of this script:
--   right     the player needs no help: UTF-8, ASCII, or no text at all
--   trouble   why the text is not converted; nil when it is
--   utf16     mpv cannot open it without a byte order mark
--   sure      whether the first reading stands far before the others
--   readings  those that can be shown, { encoding, language or nil }, the likeliest first
local function verdict(file)
    if file.error then
        return { trouble = file.error, readings = {} }
    end
    if file.kind == "empty" or file.kind == "ascii" or file.kind == "binary" or file.encoding == "UTF-8" then
        return { right = true, readings = {} }
    end
    local found = { utf16 = file.encoding:match("^UTF%-16") ~= nil, sure = file.sure, readings = {} }
    if file.kind == "unsupported" then
        found.trouble = "looks like " .. file.encoding .. ", which zucharset does not convert"
    else
        found.readings[1] = { encoding = file.encoding, language = file.languageName }
    end
    for _, reading in ipairs(file.readings or {}) do
        if reading.codeType and reading.encoding ~= file.encoding then
            found.readings[#found.readings + 1] = { encoding = reading.encoding,
                                                    language = reading.languageName or reading.language }
        end
    end
    return found
end

-- A verdict for each path, or nil where the command cannot be asked.
local function judge(paths)
    local arguments = { "detect", "--json" }
    if options.prefer ~= "" then
        arguments[#arguments + 1] = "--prefer=" .. options.prefer
    end
    arguments[#arguments + 1] = "--"
    for _, path in ipairs(paths) do
        arguments[#arguments + 1] = path
    end
    local ran = run(arguments)
    local answer = ran and utils.parse_json(ran.stdout)
    if not answer or not answer.files or #answer.files ~= #paths then
        if ran then
            say("zucharset: " .. reason(ran))
        end
        return nil
    end
    local verdicts = {}
    for i, file in ipairs(answer.files) do
        verdicts[i] = verdict(file)
    end
    return verdicts
end

-- ---- The copies ----

local folder -- private, made when it is first needed
local copies = {} -- the files in it
local copies_made = 0

local function private_folder()
    if folder then
        return folder
    end
    -- A folder in XDG_RUNTIME_DIR is in memory, and goes with the session even if mpv is killed.
    for _, parent in ipairs({ os.getenv("XDG_RUNTIME_DIR") or "", os.getenv("TMPDIR") or "", "/tmp" }) do
        if parent ~= "" then
            local ran = mp.command_native({
                name = "subprocess", args = { "mktemp", "-d", parent .. "/zucharset-mpv-XXXXXX" },
                playback_only = false, capture_stdout = true, capture_stderr = true,
            })
            folder = ran.status == 0 and ran.stdout:match("^[^\n]+")
            if folder then
                return folder
            end
        end
    end
    say("Subtitles are shown as mpv guesses: no folder for a converted copy could be made.")
    return nil
end

local function remove_copies()
    for _, path in ipairs(copies) do
        os.remove(path)
    end
    copies = {}
end

-- The path of a copy of the text in UTF-8, read as the encoding; nil and the reason where there is none.
local function convert(path, encoding)
    if not private_folder() then
        return nil, "no folder for the copy"
    end
    copies_made = copies_made + 1
    -- The extension tells mpv what format to try first.
    local copy = folder .. "/" .. copies_made .. (path:match("%.%w+$") or "")
    local ran = run({ "convert", "--quiet", "--from=" .. encoding, "--output=" .. copy, "--", path })
    if not ran then
        return nil, "the command is missing"
    end
    if ran.status ~= 0 and ran.status ~= 1 then -- 1: converted, with losses that a wrong reading brings
        return nil, reason(ran)
    end
    copies[#copies + 1] = copy
    return copy
end

-- ---- The tracks ----

-- Texts by the number of the track that shows them: path, title, language, readings, and the index of the reading that
-- is shown, 0 when mpv reads the user's own file.
local texts = {}
-- Tracks of the user's own files, and the tracks of the copies that take their place.
local replaced = {}

local function name_of(path)
    return select(2, utils.split_path(path))
end

local function describe(reading)
    return reading.encoding .. (reading.language and " (" .. reading.language .. ")" or "")
end

-- The path of a file on this machine that a track comes from, or nil.
local function local_path(name)
    local path = name:gsub("^file://", "")
    if path ~= name then
        path = path:gsub("%%(%x%x)", function(digits) return string.char(tonumber(digits, 16)) end)
    end
    path = utils.join_path(mp.get_property("working-directory"), path)
    local info = utils.file_info(path)
    return info and info.is_file and path or nil
end

-- Adds a track without choosing it, and gives its number.
local function add_track(copy, text)
    -- A forced codepage must not touch what is UTF-8 now.
    local codepage = mp.get_property("sub-codepage")
    mp.set_property("sub-codepage", "utf-8")
    mp.commandv("sub-add", copy, "auto", text.title, text.language)
    mp.set_property("sub-codepage", codepage)
    for _, track in ipairs(mp.get_property_native("track-list")) do
        if track["external-filename"] == copy then
            return track.id
        end
    end
    return nil
end

-- Adds a track that shows the text by one of its readings, and gives its number.
local function add_reading(text, index)
    local copy, trouble = convert(text.path, text.readings[index].encoding)
    local id = copy and add_track(copy, text)
    if not id then
        say(name_of(text.path) .. ": " .. (trouble or "mpv finds no subtitles in it"))
        return nil
    end
    texts[id] = { path = text.path, title = text.title, language = text.language, readings = text.readings,
                  index = index }
    return id
end

-- Lets copies take the place of the user's own files, once mpv has chosen among these.
local function swap()
    if not loaded then
        return
    end
    for original, copy in pairs(replaced) do
        replaced[original] = nil
        for _, slot in ipairs({ "sid", "secondary-sid" }) do
            if mp.get_property_number(slot) == original then
                mp.set_property_number("file-local-options/" .. slot, copy)
            end
        end
        mp.commandv("sub-remove", original)
        texts[original] = nil
    end
end

-- Judges files at once and adds tracks for those that need a copy. Each has a path, a title, a language and, where mpv
-- could open it, the number of its track. What mpv could not open and is not UTF-16 is no matter of encodings.
local function take(files)
    local paths = {}
    for i, file in ipairs(files) do
        paths[i] = file.path
    end
    local verdicts = #files > 0 and judge(paths)
    for i, file in ipairs(files) do
        local found = verdicts and verdicts[i] or { right = true, readings = {} }
        local text = { path = file.path, title = file.title, language = file.language, readings = found.readings,
                       index = 0 }
        if file.id then
            texts[file.id] = text
        end
        if not file.id and not found.utf16 then
            mp.msg.verbose("no subtitles: " .. file.path)
        elseif found.trouble then
            say(name_of(file.path) .. ": " .. found.trouble)
        elseif not found.right then
            local id = add_reading(text, 1)
            if id then
                say(("%s: read as %s"):format(name_of(file.path), describe(found.readings[1])) ..
                    (found.sure and "" or ", not sure") ..
                    (not found.sure and options.key ~= "" and "; " .. options.key .. ": next reading" or ""))
            end
            if id and file.id then
                replaced[file.id] = id
            else
                file.copy = id
            end
        end
    end
end

local function is_copy(path)
    return folder and path:sub(1, #folder + 1) == folder .. "/"
end

-- Takes the external subtitles that have not been judged yet.
local function scan()
    local files, present = {}, {}
    for _, track in ipairs(mp.get_property_native("track-list")) do
        if track.type == "sub" and track.external then
            local name = track["external-filename"]
            present[track.id] = true
            local path = not texts[track.id] and not PICTURES[track.codec] and not is_copy(name) and local_path(name)
            if path then
                files[#files + 1] = { path = path, id = track.id, title = track.title or name_of(path),
                                      language = track.lang or "" }
            end
        end
    end
    for id in pairs(texts) do -- numbers are given anew after a track was removed
        if not present[id] then
            texts[id] = nil
        end
    end
    take(files)
    swap()
end

-- Subtitles that mpv was given, or would have loaded by their name, and could not open because of their encoding.
local function scan_refused()
    local opened, files = {}, {}
    for _, track in ipairs(mp.get_property_native("track-list")) do
        if track.external then
            opened[local_path(track["external-filename"]) or ""] = true
        end
    end
    local function consider(path)
        path = path and local_path(path)
        if path and not opened[path] then
            opened[path] = true
            files[#files + 1] = { path = path, title = name_of(path), language = "" }
        end
    end
    for _, path in ipairs(mp.get_property_native("options/sub-files")) do
        consider(path)
    end
    local video = local_path(mp.get_property("path"))
    if video and mp.get_property("options/sub-auto") ~= "no" then
        local video_folder, video_name = utils.split_path(video)
        local stem = video_name:gsub("%.[^.]*$", "")
        local names = utils.readdir(video_folder, "files") or {}
        table.sort(names)
        for _, name in ipairs(names) do
            local extension = name:match("%.(%w+)$")
            if name:sub(1, #stem + 1) == stem .. "." and extension and EXTENSIONS[extension:lower()] then
                consider(video_folder .. name)
            end
        end
    end
    take(files)
    -- mpv prefers external subtitles to others, so what it would have chosen is the first of these.
    for _, track in ipairs(mp.get_property_native("track-list")) do
        if track.type == "sub" and track.external and not is_copy(track["external-filename"]) then
            return
        end
    end
    for _, file in ipairs(files) do
        if file.copy and mp.get_property("sid") == "auto" then
            mp.set_property_number("file-local-options/sid", file.copy)
            return
        end
    end
end

local function show_next_reading()
    local id = mp.get_property_number("sid")
    local text = id and texts[id]
    if not text then
        say("No external subtitles are shown")
        return
    end
    if #text.readings <= text.index and #text.readings < 2 then
        say(name_of(text.path) .. ": no other reading")
        return
    end
    local index = text.index % #text.readings + 1
    local copy = add_reading(text, index)
    if copy then
        replaced[id] = copy
        swap()
        say(("%s: read as %s, %d of %d"):format(name_of(text.path), describe(text.readings[index]), index,
                                                #text.readings))
    end
end

mp.add_hook("on_preloaded", 50, function()
    scan()
    scan_refused()
end)
mp.register_event("file-loaded", function()
    loaded = true
    swap()
    flush()
end)
mp.observe_property("track-list", nil, function()
    if loaded then
        scan()
    end
end)
mp.register_event("end-file", function()
    loaded = false
    texts, replaced, waiting = {}, {}, {}
    remove_copies()
end)
mp.register_event("shutdown", function()
    remove_copies()
    if folder then
        os.remove(folder)
    end
end)
mp.add_key_binding(options.key ~= "" and options.key or nil, "next-reading", show_next_reading)
