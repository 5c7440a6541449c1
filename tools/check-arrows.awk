# Reads "H path" for each file that may be included, then "I file line <|\" name" for each #include.
# Variables rooms and library: the tables of check-arrows.
function words_of(line, list) { return split(line, list, " ") }
function base(path) { sub(/.*\//, "", path); sub(/\..*/, "", path); return path }
function folder(path) { return sub(/\/[^\/]*$/, "", path) ? path : "." }

function plain_path(path,  part, kept, count, i, n) {   # a/b/../c -> a/c; leaves what climbs out
  n = split(path, part, "/")
  for (i = 1; i <= n; i++) {
    if (part[i] == "." || part[i] == "") continue
    if (part[i] == ".." && count > 0 && kept[count] != "..") count--
    else kept[++count] = part[i]
  }
  path = kept[1]
  for (i = 2; i <= count; i++) path = path "/" kept[i]
  return path
}

function longest_prefix(text, list, separator,  found, name) {
  for (name in list)
    if ((text == name || index(text, name separator) == 1) && length(name) > length(found)) found = name
  return found
}

# The file of the project that an #include means, or nothing.
function target(file, quote, name,  path, header, found) {
  if (quote == "\"") {
    path = plain_path(folder(file) "/" name)
    if (path in headers || name ~ /\.\.\//) return path
  }
  for (path in search) if (plain_path(path "/" name) in headers) return plain_path(path "/" name)
  if (quote == "<") return ""
  for (header in headers)   # a folder that only a target's include directories tell; the own room first
    if (substr(header, length(header) - length(name)) == "/" name) {
      found = header
      if (room_of(header) == room_of(file)) break
    }
  return found
}

function room_of(path) { return longest_prefix(path, room_grants, "/") }

function kind_outside(name) {
  if (name ~ /^json\//) return "jsoncpp"
  if (name ~ /^boost\//) return "boost"
  if (name ~ /^[a-z_0-9]+$/) return "std"
  if (name ~ /^(assert|ctype|errno|float|inttypes|limits|locale|math|setjmp|signal|stdarg|stdbool|stddef|stdint|stdio|stdlib|string|time|wchar)\.h$/) return "std"
  if (name ~ /^(sys|arpa|net|netinet|linux)\//) return "posix"
  if (name ~ /^(dirent|dlfcn|fcntl|fnmatch|ftw|glob|grp|langinfo|libgen|netdb|poll|pthread|pwd|regex|sched|semaphore|spawn|strings|syslog|termios|unistd|utime)\.h$/) return "posix"
  return "libs"
}

function granted(file, what,  room, list, n, i) {
  room = room_of(file)
  n = split(room_grants[room] " " file_grants[file], list, " ")
  for (i = 1; i <= n; i++) if (list[i] == "any" || list[i] == what || index(what, list[i] "/") == 1) return 1
  return room != "" && room_of(what) == room
}

function reaches(from, to,  list, n, i) {
  if (from == to) return 1
  n = split(arrows[from], list, " ")
  for (i = 1; i <= n; i++) if (reaches(list[i], to)) return 1
  return 0
}

function complain(text) { print text; bad = 1 }

BEGIN {
  n = split(rooms, lines, "\n")
  for (i = 1; i <= n; i++) if (words_of(lines[i], word)) {
    rest = lines[i]; sub(/^[^ ]* */, "", rest)
    if (word[1] ~ /\.h$/) file_grants[word[1]] = rest; else room_grants[word[1]] = rest
  }
  n = split(library, lines, "\n")
  for (i = 1; i <= n; i++) if (words_of(lines[i], word)) {
    rest = lines[i]; sub(/^[^ ]* */, "", rest)
    arrows[word[1]] = rest
  }
  search["."]; search["platform/include"]; search["quire_store/include"]
}

$1 == "H" { path = substr($0, 3); sub(/\.in$/, "", path); headers[path]; next }

{
  file = $2; at = file ":" $3; name = $5; count++
  found = target(file, $4, name)
  if (room_of(file) == "") complain(at ": this file lies in no room of the table in tools/check-arrows")
  else if (found ~ /^\.\./) complain(at ": \"" name "\" lies outside the project")
  else if (found == "" && $4 == "\"")
    complain(at ": \"" name "\" is no file of the project; a library's header stands in <>")
  else if (!granted(file, found == "" ? kind_outside(name) : found))
    complain(at ": " room_of(file) " may not include " (found == "" ? kind_outside(name) " <" name ">" : found))
  else if (file ~ /^quire_store\// && found ~ /^quire_store\//) {
    from = longest_prefix(base(file), arrows, "_"); to = longest_prefix(base(found), arrows, "_")
    if (to != "" && !reaches(from, to))
      complain(at ": the library has no arrow from " (from == "" ? base(file) : from) " to " to)
  }
}

END { if (!bad) print count + 0 " includes, each along an arrow"; exit bad }
