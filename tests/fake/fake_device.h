#ifndef QUIRE_TESTS_FAKE_DEVICE_H_
#define QUIRE_TESTS_FAKE_DEVICE_H_

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fake {

using Lines = std::vector<std::string>;

/// A device of which a test scripts the answers and reads back what was asked of it.
///
/// The scripts are plain members, to be set before the library is called. The journal may be
/// written from any thread.
class Device {
 public:
  // --- What happened

  /// Everything that the device was asked, one line each, in order:
  ///
  ///     config open PATH             POST /login KEY=VALUE&...   GET URL?KEY=VALUE&...
  ///     config read KEY              key DATA                    sign QUERY salt=S key=K
  ///     config write KEY=VALUE       network query               network connect NAME
  ///     config save                  forget authorisation        sleep MICROSECONDS
  ///     config close, config drop    downloader FOLDER           download URL as NAME
  ///     task find APP                task send TASK REQUEST TEXT FLAGS MILLISECONDS
  ///     unlink PATH                  message ICON TITLE TEXT MILLISECONDS
  ///     browser session NAME         browser run PROGRAM ARG... URL
  ///     browser focus                resource NAME               bitmap PATH
  ///     status of download
  ///     log LEVEL SOURCE:LINE FUNCTION: TEXT
  ///
  /// Keys of secrets begin with "secret ", those of numbers with "int ".
  Lines Journal() const;
  /// The lines that begin with one of these.
  Lines Journal(std::initializer_list<const char*> beginnings) const;
  void ForgetJournal();

  /// What no caller may do, whatever is tested: a handle closed twice or used after, a request that
  /// follows no redirects or waits for another time than 30 s.
  Lines Misuse() const;
  int OpenHandles() const;

  // --- The network

  /// The next answer to requests of `path` (of the store API, or a whole address); the last one
  /// stays until another is given. Without any the transport fails.
  void Answer(const std::string& path, const std::string& body, long status = 200);
  /// Forgets all answers and the journal first.
  void AnswerOnly(const std::string& path, const std::string& body, long status = 200);
  void ForgetAnswers();
  int network_state = 0x100;

  // --- The configuration file, as saved

  std::map<std::string, std::string> config;
  bool config_opens = true;
  std::set<std::string> null_reads;  ///< keys whose text reads as null

  // --- The rest

  std::deque<std::int64_t> clock_s;  ///< one a reading, the last stays; empty: the system's
  const char* serial_number = "SN-1";
  const char* signing_key = "KEY";
  int scanner_task = -1;
  bool has_logo = false;
  std::optional<std::string> upper_case;  ///< what upper-casing gives; not set: the text's own

  struct {
    int result = 0;
    std::string content_type = "application/epub+zip";
    std::string saved_name;  ///< empty: as asked for
    bool active = false;     ///< what GetProgress tells
    int total = 0, done = 0;
    int transport_error = 0, http_status = 0;  ///< of one that failed, with the text "no book came"
  } download;
  void HoldDownloads();
  void ReleaseDownloads();

  struct {
    int result = 0;
    Lines visits;
    bool stays_open = false;  ///< until the session's flag is cleared
  } browser;

  // --- For the fake libraries

  struct Reply {
    int error = 6;
    long status = 0;
    std::string body;
    bool taken = false;
  };
  void Note(const std::string& line);
  void NoteMisuse(const std::string& what);
  Reply TakeReply(const std::string& path);
  void WaitForRelease();
  std::int64_t Now();

 private:
  mutable std::mutex mutex_;
  std::condition_variable released_;
  bool held_ = false;
  Lines journal_;
  Lines misuse_;
  std::map<std::string, std::deque<Reply>> replies_;
};

extern Device device;

}  // namespace fake

#endif  // QUIRE_TESTS_FAKE_DEVICE_H_
