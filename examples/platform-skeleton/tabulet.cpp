// libtabulet.so without a device: every call fails as its header documents.

#include "tabulet.h"

#include "tabulet_task.h"

// Configuration files: none can be opened, so all other calls have a null handle.

iconfig_s* OpenConfig(const char* /*path*/, const config_defaults_s* /*defaults*/) {
  return nullptr;
}

const char* ReadString(iconfig_s* /*config*/, const char* /*key*/, const char* fallback) {
  return fallback;
}

const char* ReadSecret(iconfig_s* /*config*/, const char* /*key*/, const char* fallback) {
  return fallback;
}

int ReadInt(iconfig_s* /*config*/, const char* /*key*/, int fallback) {
  return fallback;
}

void WriteString(iconfig_s* /*config*/, const char* /*key*/, const char* /*value*/) {}

void WriteSecret(iconfig_s* /*config*/, const char* /*key*/, const char* /*value*/) {}

void WriteInt(iconfig_s* /*config*/, const char* /*key*/, int /*value*/) {}

int SaveConfig(iconfig_s* /*config*/) {
  return 0;
}

void CloseConfig(iconfig_s* /*config*/) {}

void CloseConfigNoSave(iconfig_s* /*config*/) {}

// The device.

const char* GetSerialNumber() {
  return "";
}

int QueryNetwork() {
  return 0;
}

int NetConnect(const char* /*network*/) {
  return -1;
}

// Tasks.

int FindTaskByAppName(const char* /*app*/) {
  return -1;
}

int SendRequestTo(int /*task*/, int /*request*/, const void* /*data*/, int /*size*/, int /*flags*/,
                  int /*timeout_ms*/) {
  return -1;
}

namespace tabulet {

class TaskServer::Impl {};

TaskServer::TaskServer(const std::string& /*app_path*/, Handler /*handler*/) {}

TaskServer::~TaskServer() = default;

int TaskServer::Run() {
  return -1;
}

void TaskServer::Stop() noexcept {}

}  // namespace tabulet

// Messages and bitmaps.

void Message(int /*icon*/, const char* /*title*/, const char* /*text*/, int /*timeout_ms*/) {}

ibitmap_s* GetResource(const char* /*name*/, ibitmap_s* fallback) {
  return fallback;
}

int SaveBitmap(const char* /*path*/, const ibitmap_s* /*bitmap*/) {
  return 0;
}

// Files, strings and the log.

const tb_file_type* GetSupportedFileTypes() {
  static const tb_file_type kNone = {nullptr, nullptr};
  return &kNone;
}

int tb_unlink(const char* /*path*/) {
  return -1;
}

char* utf_toupper_ext(const char* /*text*/, int* /*length*/) {
  return nullptr;
}

void sm_print_log2(int /*level*/, const char* /*source*/, int /*line*/, const char* /*function*/,
                   const char* /*format*/, ...) {}
