#ifndef QUIRE_STORE_MANAGER_H_
#define QUIRE_STORE_MANAGER_H_

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "book.h"
#include "book_status.h"
#include "cart.h"
#include "failure.h"
#include "quire_export.h"
#include "server_api.h"
#include "switchboard_config.h"
#include "tabulet.h"

namespace saltmoor::quire {

class DownloadQueue;
class FirstFailure;
class PendingPayment;
class PurchasedBooks;

/// The store: everything that an application does with the user's account at the shop. It shows
/// nothing but a message when a download failed and the payment page in the device's browser.
///
/// Each call waits until its work is done. Not thread-safe, except for Instance: all calls must be
/// made on the same thread. Integer results are 0 for success and -1 for failure unless documented
/// otherwise; GetLastFailure has the reason.
class QUIRE_EXPORT StoreManager {
 public:
  /// The only manager, created on first use and destroyed when the process exits, which waits for
  /// a running download. Creating it reads no file and sends no request. Thread-safe.
  static StoreManager& Instance();

  StoreManager(const StoreManager&) = delete;
  StoreManager& operator=(const StoreManager&) = delete;

  // Start and session.

  /// Starts the manager; to be called once. Loads the shop's configuration from its cache (at most
  /// 30 minutes old) or the configuration service, the stored session, the cart and the bought
  /// books, and logs in with the stored credentials.
  /// \return -1 when the configuration file cannot be opened, or the shop's configuration is
  ///     neither cached nor available. A failed log-in is a success: see IsLoggedIn. Without stored
  ///     credentials there is no log-in, which is no failure.
  int Init();

  /// Fetches the shop's configuration and caches it. On failure calls keep using the last good
  /// one, while GetShopName and GetClientId are empty. Only Init records the time of the cache.
  int ConfigFromServer();

  /// Logs in again with the stored credentials. On failure the session is unchanged.
  /// \param config  the open configuration file, which remains the caller's; null to open it.
  int NewSession(iconfig_s* config);

  /// Whether there is a session. The server is not asked and may have ended it.
  bool IsLoggedIn();

  /// The stored user name; empty when there is none.
  // Compatibility: applications are compiled against this spelling.
  std::string getLogin();

  /// The stored password; empty when there is none.
  // Compatibility: applications are compiled against this spelling.
  std::string getPassword();

  /// The shop's display name; empty without a configuration.
  std::string GetShopName();

  /// The id of this device's shop client; empty without a configuration.
  std::string GetClientId();

  /// Fetches the customer's profile: ServerApi::GetUserData.
  std::tuple<ServerApi::Result, UserData> GetUserData();

  /// Reserved. Does nothing and returns 0.
  int RegisterPushNotification();

  // Account.

  /// Logs in and, on success, stores the credentials and loads the bought books.
  /// \return as ServerApi::LogIn; kOk without a request when the device's configuration file cannot
  ///     be opened.
  ServerApi::Result LogIn(const std::string& user, const std::string& password);

  /// Registers a new customer and, on success, stores the credentials and loads the bought books of
  /// the present session. It does not log in; the next Init or NewSession does. Without a session
  /// the shop refuses to list the books, which is no failure.
  /// \return as ServerApi::Register; kOk without a request when the device's configuration file
  ///     cannot be opened.
  ServerApi::Result Register(const std::string& email, const std::string& password,
                             const std::string& name, const std::string& lastname,
                             const std::string& title);

  /// Ends the session on the device and empties the cart, the bought books and the download queue.
  /// The server is not notified and the stored credentials are kept.
  void LogOut();

  /// Fetches the bought books.
  /// \return a copy of GetPurchased, empty on failure: see IsPurchasedKnown.
  std::vector<Book> LoadPurchased();

  // Cart.

  /// Adds a copy of a book to the local cart unless its EAN is in it, and saves the cart. Always
  /// kOk.
  ServerApi::Result AddToCart(const Book& book);

  /// Removes the first book with this one's EAN from the local cart and saves the cart if there was
  /// one. Always 0.
  int RemoveFromCart(const Book& book);

  /// Removes the book at a position from the local cart and saves the cart. Always 0.
  int RemoveFromCart(unsigned int index);

  // Checkout and payment.

  /// Logs in again with the stored credentials, sends the local cart to the server and replaces it
  /// with the server's priced cart. The cart file is not written.
  /// \return always kOk, and the books that the server's cart does not have: all of them when
  ///     that cart could not be fetched.
  std::tuple<ServerApi::Result, std::vector<Book>> CheckOut();

  /// Commits the cart's order for payment and, for "PAYPAL" and "CCARD", shows the payment page and
  /// waits until the browser has ended. Whether the user paid: CheckPaymentResult. Once the shop
  /// has committed the order it is pending, also when a later step fails.
  /// \param pay_method  compared exactly; any other string commits the order without a browser.
  /// \return kFailed when the shop refused (with its message) or named no payment page, or the
  ///     browser could not be run; kOk, with Failure::kBrowser, when it failed while it ran.
  ServerApi::Result StartPayment(const std::string& pay_method);

  /// Asks the shop about the pending order every five seconds, without limit, while it reports
  /// "Pending"; then submits the order, empties the cart and loads the bought books. An order that
  /// was committed without a browser is submitted at once.
  /// \return kFailed when the payment failed or is in progress, or the shop refused (with its
  ///     message) or did not answer; the cart and the pending order are then unchanged.
  ServerApi::Result CheckPaymentResult();

  /// Asks the shop once about a pending order and loads the bought books.
  /// \return 0 when the shop answered, whatever it reported; -1 when it did not, and when no order
  ///     is pending.
  int CheckOrderIfNeeded();

  // Books and downloads.

  /// The state of a book.
  /// \param id  an EAN, or a path or address that ends in one.
  BookStatus GetBookStatusById(const std::string& id);

  /// The state of a book.
  BookStatus GetBookStatus(const std::string& ean);

  /// Queues the download of a bought book and returns the result of CheckDownloadState; 0 for a
  /// book that is not bought.
  /// \param id  an EAN, or a path or address that ends in one.
  int DownloadBookById(const std::string& id);

  /// Finishes the download that has ended, if one has (renames the file and notifies the library
  /// scanner, or shows a message), and takes the next book off the queue. Does not wait for a
  /// download. To be called a few times a second while one runs; the call that finishes it has its
  /// failure. A book taken off the queue while another one downloads is not downloaded.
  /// \return 1 when there was a download at the time of the call, else 0.
  int CheckDownloadState();

  // State. These and IsLoggedIn, getLogin, getPassword, GetShopName, GetClientId and the book
  // states leave the last failure unchanged.

  /// The local cart; valid for the life of the manager, changed by its calls.
  const Cart& GetCart() const;

  /// The bought books as last fetched; valid until the manager's next call.
  const std::vector<Book>& GetPurchased() const;

  /// Whether GetPurchased is complete: the last fetch succeeded with a readable list. False before
  /// the first fetch, after LogOut and after a failed fetch; the list is then empty and unknown.
  bool IsPurchasedKnown() const;

  /// The server's timestamp of the last submitted order, for ConvertDateTime; empty when there is
  /// none.
  const std::string& GetOrderDatePlaced() const;

  /// The shop's configuration that calls use: the last good one. Valid for the life of the manager,
  /// changed by its calls.
  const SwitchboardConfig& GetConfig() const;

  /// The full path of the last download's file, as its content type named it; empty before the
  /// first one, after LogOut, and when the last one failed or its file was removed. Valid until
  /// the manager's next call.
  const std::string& GetSavedPath() const;

  /// Why the last call failed; kNone after success. Of several failures within one call it is the
  /// first, since later ones are usually its consequence. A call with a successful result may have
  /// one. Valid until the manager's next call.
  const Failure& GetLastFailure() const;

 private:
  StoreManager();
  ~StoreManager();

  ServerApi server_api_;
  std::unique_ptr<FirstFailure> failure_;
  SwitchboardConfig switchboard_;
  std::string session_id_;
  Cart cart_;
  std::unique_ptr<PurchasedBooks> purchased_;
  std::unique_ptr<DownloadQueue> downloads_;
  std::unique_ptr<PendingPayment> payment_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_STORE_MANAGER_H_
