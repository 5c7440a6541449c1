#ifndef QUIRE_TESTS_FAKE_DEVICE_H_
#define QUIRE_TESTS_FAKE_DEVICE_H_

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fake {

using Lines = std::vector<std::string>;

/// A device whose responses a test sets and whose calls it reads back. Members must be set before
/// the library is called; Calls is thread-safe.
class Device {
 public:
  // --- Calls

  /// All calls of the device, one line each, in order:
  ///
  ///     config open PATH             POST /login KEY=VALUE&...   GET URL?KEY=VALUE&...
  ///     config read KEY              key DATA                    sign QUERY salt=S key=K
  ///     config write KEY=VALUE       network query               network connect NAME
  ///     config save                  forget authorisation        sleep MICROSECONDS
  ///     config close, config discard    downloader DIRECTORY        download URL as NAME
  ///     task find APP                task send TASK REQUEST TEXT FLAGS MILLISECONDS
  ///     unlink PATH                  message ICON TITLE TEXT MILLISECONDS
  ///     browser session NAME         browser run PROGRAM ARG... URL
  ///     browser focus                resource NAME               bitmap PATH
  ///     status of download
  ///     log LEVEL SOURCE:LINE FUNCTION: TEXT
  ///
  /// Keys of secrets begin with "secret ", those of numbers with "int ".
  ///
  /// \return the lines that begin with one of `beginnings`.
  Lines Calls(std::initializer_list<const char*> beginnings = {""}) const;
  void ClearCalls();

  /// Violations of the contract: a handle that is closed twice or used after it was closed, a
  /// request that does not follow redirects or has another time-out than 30 s.
  Lines Misuse() const;
  int OpenHandles() const;

  // --- The network

  /// Adds a response to requests of `path` (of the store API, or a whole address). The last one is
  /// repeated. Without a response the transport fails.
  void AddResponse(const std::string& path, const std::string& body, long status = 200);
  /// Clears all responses and calls first.
  void SetOnlyResponse(const std::string& path, const std::string& body, long status = 200);
  void ClearResponses();
  int network_state = 0x100;
  std::function<void(const std::string& path)> on_request;  ///< before the response

  // --- The configuration file, as saved

  std::map<std::string, std::string> config;
  bool config_opens = true;
  bool config_saves = true;
  std::set<std::string> null_reads;  ///< keys that read as null

  // --- The file system

  /// Before each open, read, write, fsync and rename, of the library and the test: the errno with
  /// which it fails, or 0.
  std::function<int(const std::string& call)> on_file_call;

  // --- The rest

  /// One for each reading, the last is repeated; empty: the system's.
  std::deque<std::int64_t> clock_s;
  const char* serial_number = "SN-1";
  const char* signing_key = "KEY";
  int scanner_task = -1;
  bool has_logo = false;
  std::optional<std::string> upper_case;  ///< the result of every upper-casing, if set

  struct {
    int result = 0;
    std::string content_type = "application/epub+zip";
    std::string saved_name;  ///< empty: as requested
    bool active = false;     ///< the result of GetProgress
    int total = 0, done = 0;
    bool throws = false;
    int transport_error = 0, http_status = 0;  ///< of a failed one, with "no book came"
  } download;
  std::atomic<bool> holds_downloads = false;
  void ReleaseDownloads();

  struct {
    int result = 0;
    bool fails = false;  ///< after the visits, instead of being closed
    Lines visits;
    bool stays_open = false;  ///< until the session's flag is cleared
  } browser;

  // --- For the fake libraries

  struct Response {
    int error = 6;
    long status = 0;
    std::string body;
    bool taken = false;
  };
  void Record(const std::string& line);
  void RecordMisuse(const std::string& what);
  Response NextResponse(const std::string& path);
  std::int64_t Now();

 private:
  mutable std::mutex mutex_;
  Lines calls_;
  Lines misuse_;
  std::map<std::string, std::deque<Response>> responses_;
};

extern Device device;

}  // namespace fake

#endif  // QUIRE_TESTS_FAKE_DEVICE_H_
