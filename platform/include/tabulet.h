/// \file
/// The device's platform library, `libtabulet.so`: configuration files, network, tasks, messages,
/// bitmaps, texts and the system log.
///
/// Conventions of the whole file. Texts are UTF-8 and end with a zero byte; a text argument may be
/// null only where its description says so. A text that a call returns belongs to the platform and
/// must not be freed, except where `malloc` is named. Nothing here throws. Calls on one
/// `iconfig_s` handle belong on one thread at a time; everything else may be called on any thread.

#ifndef TABULET_H_
#define TABULET_H_

#ifdef __cplusplus
extern "C" {
#endif

// Configuration files -----------------------------------------

/// An open configuration file: texts and numbers under text keys. Made by OpenConfig, released by
/// CloseConfig or CloseConfigNoSave. Changes stay in memory until they are saved.
typedef struct iconfig_s iconfig_s;  // NOLINT(modernize-use-using): read by C programs too

/// Defaults for a new file. No such record exists yet: the argument is always null.
typedef struct config_defaults_s config_defaults_s;  // NOLINT(modernize-use-using)

/// Opens the configuration file at `path`; a missing file is created empty, an unreadable one is
/// moved aside and replaced by an empty one.
/// \return a handle that the caller closes, or null when the file can be neither read nor created.
iconfig_s* OpenConfig(const char* path, const config_defaults_s* defaults);

/// Reads the text under `key`.
/// \param config  may be null: the fallback is returned.
/// \param fallback  returned as it is, null included, when the key is absent.
/// \return a text valid until the key is written again or the handle is closed.
const char* ReadString(iconfig_s* config, const char* key, const char* fallback);

/// Reads a text that the file keeps sealed, as WriteSecret wrote it. As ReadString otherwise; a
/// value that cannot be unsealed (another device's file, a damaged one) counts as absent.
const char* ReadSecret(iconfig_s* config, const char* key, const char* fallback);

/// Reads the decimal number under `key`; `fallback` when the handle is null, the key absent or the
/// value no number that fits an int.
int ReadInt(iconfig_s* config, const char* key, int fallback);

/// Sets the text under `key`, in memory. The value is copied; a null handle is ignored, and a null
/// value is written as the empty text.
void WriteString(iconfig_s* config, const char* key, const char* value);

/// As WriteString, with the value sealed so that the file alone does not tell it.
void WriteSecret(iconfig_s* config, const char* key, const char* value);

/// Sets the number under `key`, in memory. A null handle is ignored.
void WriteInt(iconfig_s* config, const char* key, int value);

/// Writes the file so that a crash or a power cut leaves the old content or the new, whole. Several
/// handles, also of several processes, may save one file at once: the last one counts. Other files
/// that saving leaves beside it do not pile up.
/// \return 1 when the content is on the disk, 0 when it is not (the old file stays) or the handle
///     is null.
int SaveConfig(iconfig_s* config);

/// Saves unsaved changes, then releases the handle. Null is allowed. A failed save is logged.
void CloseConfig(iconfig_s* config);

/// Drops unsaved changes and releases the handle. Null is allowed.
void CloseConfigNoSave(iconfig_s* config);

// The device --------------------------------------------------

/// The device's serial number, never null. Valid for the life of the process.
const char* GetSerialNumber(void);

/// The state of the network: connected when any of the bits 0xF00 is set.
int QueryNetwork(void);

/// Connects to the named network, the default one for null. Waits until it is up or has failed.
/// \return 0 when connected, another value when not.
int NetConnect(const char* network);

// Tasks -------------------------------------------------------

/// Looks up a running application by the path of its program.
/// \return its task number, -1 when it is not running.
int FindTaskByAppName(const char* app);

/// Sends a request of `size` bytes to a task and waits for its answer, at most `timeout_ms`
/// milliseconds.
/// \param data  read during the call only; needs no closing zero byte. Null when `size` is 0.
/// \param flags  none is defined: 0.
/// \return the task's answer, 0 or above; -1 when there is no such task or it did not answer.
int SendRequestTo(int task, int request, const void* data, int size, int flags, int timeout_ms);

// What the user sees ------------------------------------------

/// Shows a transient message and returns at once.
/// \param icon  1 information, 2 question, 3 attention, 4 error.
/// \param title,text  shown as they are; a text that begins with '@' is a key of the language
///     resources and is shown in the user's language, or as it is when the key is unknown.
/// \param timeout_ms  how long the message stays, in milliseconds.
void Message(int icon, const char* title, const char* text, int timeout_ms);

/// A bitmap of the platform.
typedef struct ibitmap_s ibitmap_s;  // NOLINT(modernize-use-using)

/// The bitmap resource `name`, owned by the platform and valid for the life of the process;
/// `fallback`, which may be null, when there is none.
ibitmap_s* GetResource(const char* name, ibitmap_s* fallback);

/// Writes a bitmap as a BMP file.
/// \return 1 when the file is written, 0 when it is not or `bitmap` is null.
int SaveBitmap(const char* path, const ibitmap_s* bitmap);

// Files and texts ---------------------------------------------

/// A kind of file that the device can open.
typedef struct tb_file_type {  // NOLINT(modernize-use-using)
  const char* extension;       ///< without the leading dot, in lower case; null in the closing row
  const char* description;     ///< for people
} tb_file_type;

/// The kinds of files that the device opens, ended by a row whose extension is null. Never null;
/// valid for the life of the process.
const tb_file_type* GetSupportedFileTypes(void);

/// Deletes a file.
/// \return 0 when it is gone, -1 when it is not.
int tb_unlink(const char* path);

/// Upper-cases a text.
/// \param length  receives the result's length in bytes; may be null.
/// \return a new text that the caller frees with `free`; null when memory ran out.
char* utf_toupper_ext(const char* text, int* length);

/// Writes one record of the system log. `errno` stays as it is.
/// \param level  1 fatal, 2 error, 3 warning, 4 information, 5 trace.
/// \param source,line,function  where the record comes from.
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
