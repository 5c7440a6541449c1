#ifndef QUIRE_DEVICE_PATHS_H_
#define QUIRE_DEVICE_PATHS_H_

/// The paths of the device that the library uses.
namespace saltmoor::quire::paths {

inline constexpr char kConfig[] = "/mnt/ext1/system/config/quire_config.cfg";
inline constexpr char kSwitchboard[] = "/mnt/ext1/system/config/switchboard.json";
inline constexpr char kCart[] = "/mnt/ext1/system/config/quire_cart";
inline constexpr char kDownloads[] = "/mnt/ext1/Downloads";
inline constexpr char kDigitalEditions[] = "/mnt/ext1/Digital Editions";
inline constexpr char kBrowser[] = "/ebrmain/bin/browser.app";
inline constexpr char kScanner[] = "/ebrmain/bin/scanner.app";
inline constexpr char kBrowserLogo[] = "/tmp/quire_browser_logo.bmp";

}  // namespace saltmoor::quire::paths

#endif  // QUIRE_DEVICE_PATHS_H_
