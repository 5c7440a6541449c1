# Reads "H path" for each file that may be included, then "I file line <|\" name" for each #include.
# Variables components and units: the tables of check-dependencies.
function base_name(path) { sub(/.*\//, "", path); sub(/\..*/, "", path); return path }
function directory(path) { return sub(/\/[^\/]*$/, "", path) ? path : "." }

function normalize(path,  part, kept, count, i, n) {   # a/b/../c -> a/c; a leading .. stays
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

# The file of the project that an #include names, or nothing.
function resolve(file, quote, name,  path, header, found) {
  if (quote == "\"") {
    path = normalize(directory(file) "/" name)
    if (path in headers || name ~ /\.\.\//) return path
  }
  for (path in search) if (normalize(path "/" name) in headers) return normalize(path "/" name)
  if (quote == "<") return ""
  for (header in headers)   # found through a target's include directories; the own component first
    if (substr(header, length(header) - length(name)) == "/" name) {
      found = header
      if (component_of(header) == component_of(file)) break
    }
  return found
}

function component_of(path) { return longest_prefix(path, component_grants, "/") }

function library_of(name) {
  if (name ~ /^json\//) return "jsoncpp"
  if (name ~ /^boost\//) return "boost"
  if (name ~ /^[a-z_0-9]+$/) return "std"
  if (name ~ /^(assert|ctype|errno|float|inttypes|limits|locale|math|setjmp|signal|stdarg|stdbool|stddef|stdint|stdio|stdlib|string|time|wchar)\.h$/) return "std"
  if (name ~ /^(sys|arpa|net|netinet|linux)\//) return "posix"
  if (name ~ /^(dirent|dlfcn|fcntl|fnmatch|ftw|glob|grp|langinfo|libgen|netdb|poll|pthread|pwd|regex|sched|semaphore|spawn|strings|syslog|termios|unistd|utime)\.h$/) return "posix"
  return "libs"
}

function is_granted(file, included,  component, list, n, i) {
  component = component_of(file)
  n = split(component_grants[component] " " file_grants[file], list, " ")
  for (i = 1; i <= n; i++) if (list[i] == "any" || list[i] == included || index(included, list[i] "/") == 1) return 1
  return component != "" && component_of(included) == component
}

function depends_on(from, to,  list, n, i) {
  if (from == to) return 1
  n = split(unit_grants[from], list, " ")
  for (i = 1; i <= n; i++) if (depends_on(list[i], to)) return 1
  return 0
}

function report(text) { print text; failed = 1 }

function read_table(table, grants,  lines, word, rest, n, i) {
  n = split(table, lines, "\n")
  for (i = 1; i <= n; i++) if (split(lines[i], word, " ")) {
    rest = lines[i]; sub(/^[^ ]* */, "", rest)
    grants[word[1]] = rest
  }
}

BEGIN {
  read_table(components, component_grants)
  for (name in component_grants) if (name ~ /\.h$/) {
    file_grants[name] = component_grants[name]; delete component_grants[name]
  }
  read_table(units, unit_grants)
  search["."]; search["platform/include"]; search["quire_store/include"]
}

$1 == "H" { path = substr($0, 3); sub(/\.in$/, "", path); headers[path]; next }

{
  file = $2; at = file ":" $3; name = $5; count++
  included = resolve(file, $4, name)
  if (component_of(file) == "") report(at ": this file lies in no component of the table in tools/check-dependencies")
  else if (included ~ /^\.\./) report(at ": \"" name "\" lies outside the project")
  else if (included == "" && $4 == "\"")
    report(at ": the project has no file \"" name "\"; a library's header is included in <>")
  else if (!is_granted(file, included == "" ? library_of(name) : included))
    report(at ": " component_of(file) " may not include " (included == "" ? library_of(name) " <" name ">" : included))
  else if (file ~ /^quire_store\// && included ~ /^quire_store\//) {
    from = longest_prefix(base_name(file), unit_grants, "_"); to = longest_prefix(base_name(included), unit_grants, "_")
    if (to != "" && !depends_on(from, to))
      report(at ": in the library, " (from == "" ? base_name(file) : from) " does not depend on " to)
  }
}

END { if (!failed) print count + 0 " includes, all granted"; exit failed }
