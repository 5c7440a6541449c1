/// \file
/// The device's platform library, `libtabulet.so`: configuration files, network, tasks, messages,
/// bitmaps, file types and the system log.
///
/// Conventions of the whole file: strings are UTF-8 and end with a zero byte. A string argument
/// must not be null unless its description says so. A returned string is owned by the platform and
/// must not be freed unless the description says so. Calls with the same `iconfig_s` handle must
/// not be concurrent; all other calls are thread-safe. Nothing throws; failures are logged.

#ifndef TABULET_H_
#define TABULET_H_

#ifdef __cplusplus
extern "C" {
#endif

// Configuration files -----------------------------------------

/// An open configuration file: strings and integers by key. OpenConfig creates the handle,
/// CloseConfig or CloseConfigNoSave releases it. Changes stay in memory until they are saved.
typedef struct iconfig_s iconfig_s;  // NOLINT(modernize-use-using): read by C programs too

/// Defaults for a new file. Reserved: the argument is always null.
typedef struct config_defaults_s config_defaults_s;  // NOLINT(modernize-use-using)

/// Opens the configuration file at `path`. A missing file is created empty. A file that cannot be
/// read or parsed is renamed and replaced with an empty one.
/// \return a handle that the caller must close; null if the file can be neither read nor created.
iconfig_s* OpenConfig(const char* path, const config_defaults_s* defaults);

/// Reads the string of `key`.
/// \param config  if null, the call returns `fallback`.
/// \param fallback  returned unchanged if the key is absent; may be null.
/// \return a string that is valid until the key is written or the handle is closed.
const char* ReadString(iconfig_s* config, const char* key, const char* fallback);

/// Reads a string that WriteSecret wrote encrypted; otherwise like ReadString. A value that cannot
/// be decrypted, because it is damaged or from another device, counts as absent.
const char* ReadSecret(iconfig_s* config, const char* key, const char* fallback);

/// Reads the integer of `key`.
/// \return `fallback` if the handle is null, the key is absent or the value is not a decimal number
///     that fits an int.
int ReadInt(iconfig_s* config, const char* key, int fallback);

/// Sets the string of `key` in memory.
/// \param config  if null, the call does nothing.
/// \param value  copied; null is written as an empty string.
void WriteString(iconfig_s* config, const char* key, const char* value);

/// Like WriteString, but the file holds the value encrypted under a key of the device. If it cannot
/// be encrypted, the old value is removed, and the next save tries again.
void WriteSecret(iconfig_s* config, const char* key, const char* value);

/// Sets the integer of `key` in memory. Does nothing if the handle is null.
void WriteInt(iconfig_s* config, const char* key, int value);

/// Writes the keys that this handle has changed over what the file holds then. Several handles, of
/// several processes too, may save the same file; the last one to change a key wins. The file is
/// replaced atomically: a crash or a power failure leaves the complete old content or the complete
/// new content. An interrupted call may leave one temporary file, which the next call removes. A
/// file that cannot be read is renamed, and one with all keys of this handle takes its place.
/// \return 1 if the changes are on the disk; 0 if they are not, and the old file is unchanged, if a
///     secret could not be encrypted, or if the handle is null.
int SaveConfig(iconfig_s* config);

/// Saves unsaved changes, then releases the handle, even if saving failed. Null is allowed.
void CloseConfig(iconfig_s* config);

/// Releases the handle without saving. Null is allowed.
void CloseConfigNoSave(iconfig_s* config);

// The device --------------------------------------------------

/// Returns the serial number of the device. Never null; valid until the process exits.
const char* GetSerialNumber(void);

/// Returns the state of the network as bits: the device is connected if any of 0xF00 is set.
int QueryNetwork(void);

/// Connects to a network and waits until the attempt has succeeded or failed.
/// \param network  its name; null means the default network.
/// \return 0 if connected, otherwise another value.
int NetConnect(const char* network);

// Tasks -------------------------------------------------------

/// Finds a running application by the path of its program.
/// \return its task number; -1 if it is not running.
int FindTaskByAppName(const char* app);

/// Sends a request to a task and waits for its answer.
/// \param data,size  the request's bytes; read only during the call. `data` may be null if `size`
///     is 0.
/// \param flags  reserved: 0.
/// \param timeout_ms  limit for the whole call in milliseconds.
/// \return the task's answer, 0 or above; -1 if there is no such task or it did not answer in time.
int SendRequestTo(int task, int request, const void* data, int size, int flags, int timeout_ms);

// Messages and bitmaps ----------------------------------------

/// Shows a message to the user and returns immediately.
/// \param icon  1 information, 2 question, 3 attention, 4 error.
/// \param title,text  a string that begins with '@' is a key of the language resources and is shown
///     in the user's language. Other strings and unknown keys are shown unchanged.
/// \param timeout_ms  how long the message is shown, in milliseconds.
void Message(int icon, const char* title, const char* text, int timeout_ms);

/// A bitmap of the platform.
typedef struct ibitmap_s ibitmap_s;  // NOLINT(modernize-use-using)

/// Returns the bitmap resource `name`, owned by the platform and valid until the process exits.
/// \param fallback  returned if there is no such resource; may be null.
ibitmap_s* GetResource(const char* name, ibitmap_s* fallback);

/// Writes a bitmap as a BMP file.
/// \return 1 on success; 0 if the file cannot be written or `bitmap` is null.
int SaveBitmap(const char* path, const ibitmap_s* bitmap);

// Files, strings and the log ----------------------------------

/// A type of file that the device can open.
typedef struct tb_file_type {  // NOLINT(modernize-use-using)
  const char* extension;       ///< without the dot, in lower case; null in the last row
  const char* description;     ///< for a person
} tb_file_type;

/// Returns the types of files that the device can open; the last row has a null extension. Never
/// null; valid until the process exits.
const tb_file_type* GetSupportedFileTypes(void);

/// Deletes a file, not a directory.
/// \return 0 if the file no longer exists; -1 on failure.
int tb_unlink(const char* path);

/// Converts a string to upper case. Independent of the locale.
/// \param length  receives the length of the result in bytes; may be null.
/// \return a new string that the caller must release with `free`; null on failure.
char* utf_toupper_ext(const char* text, int* length);

/// Writes one record to the system log. Leaves `errno` unchanged.
/// \param level  1 fatal, 2 error, 3 warning, 4 information, 5 trace.
/// \param source,line,function  the place in the code that writes the record.
/// \param format  as for printf.
void sm_print_log2(int level, const char* source, int line, const char* function,
                   const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 5, 6)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif  // TABULET_H_
