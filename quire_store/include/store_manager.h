#ifndef QUIRE_STORE_MANAGER_H_
#define QUIRE_STORE_MANAGER_H_

#include <future>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "book.h"
#include "book_status.h"
#include "cart.h"
#include "failure.h"
#include "quire_export.h"
#include "saltmoor/opds/resource_downloader.h"
#include "server_api.h"
#include "switchboard_config.h"
#include "tabulet.h"

namespace saltmoor::quire {

class FirstFailure;

/// The store: the one object through which an application drives everything between a reader and
/// the shop. It draws nothing but the message that a download failed, and the payment page in the
/// device's browser.
///
/// Except for Instance, every call belongs on the application's one thread and returns when its
/// work is done. Integer results are 0 for success and -1 for failure unless told otherwise.
class QUIRE_EXPORT StoreManager {
 public:
  /// The one manager, made on first use by any thread and destroyed when the process exits; a
  /// download that still runs then is waited for. Making it reads no file and asks nothing of the
  /// network.
  static StoreManager& Instance();

  StoreManager(const StoreManager&) = delete;
  StoreManager& operator=(const StoreManager&) = delete;

  // Start and session.

  /// Brings the manager up, once: the shop's configuration from its cache (at most 30 minutes old)
  /// or the configuration service, the stored session, a log-in with the stored credentials, the
  /// cart and the bought books.
  /// \return -1 when the configuration file cannot be opened or the shop's configuration is neither
  ///     freshly cached nor to be had. Nothing else makes it fail: see IsLoggedIn.
  int Init();

  /// Fetches the shop's configuration and caches it. On failure the last good one stays in use for
  /// calls, while GetShopName and GetClientId answer empty. Only Init notes when the cache was
  /// made.
  int ConfigFromServer();

  /// Logs in again with the stored credentials.
  /// \param config  the open configuration file, which stays open; null to have it opened here.
  /// \return -1 when no credentials are stored, or the shop refuses them or cannot be reached; the
  ///     session stays.
  int NewSession(iconfig_s* config);

  /// Whether a session is held. Asks nothing of the server, which may have ended it.
  bool IsLoggedIn();

  /// The stored user name; empty when there is none. (The name's spelling is part of the
  /// interface.)
  std::string getLogin();

  /// The stored password; empty when there is none. (The name's spelling is part of the
  /// interface.)
  std::string getPassword();

  /// The shop's display name; empty without a configuration.
  std::string GetShopName();

  /// The id of this device's shop client; empty without a configuration.
  std::string GetClientId();

  /// The customer's profile, asked of the server: ServerApi::GetUserData.
  std::tuple<ServerApi::Result, UserData> GetUserData();

  /// Reserved. Does nothing and returns 0.
  int RegisterPushNotification();

  // Account.

  /// Logs in, and on success stores the credentials and loads the bought books.
  /// \return kFailed with the server's text when it refused, with an empty message when it could
  ///     not be reached. When the device's configuration file cannot be opened: kOk, and nothing
  ///     happens.
  ServerApi::Result LogIn(const std::string& user, const std::string& password);

  /// Registers a new customer and, on success, stores the credentials and loads the bought books of
  /// the session held, if any. It does not log in: the next Init or NewSession does. Results as of
  /// LogIn; on success the message is for the user.
  ServerApi::Result Register(const std::string& email, const std::string& password,
                             const std::string& name, const std::string& lastname,
                             const std::string& title);

  /// Ends the session on the device and empties the cart, the bought books and the download queue.
  /// The server is not told, and the stored credentials stay.
  void LogOut();

  /// Fetches the bought books and keeps them: see GetPurchased. A failure gives, and leaves, an
  /// empty list.
  std::vector<Book> LoadPurchased();

  // Cart.

  /// Puts a copy of a book into the local cart unless its EAN is there, and saves the cart. Always
  /// kOk.
  ServerApi::Result AddToCart(const Book& book);

  /// Takes the first book with this one's EAN out of the local cart, and saves the cart if there
  /// was one. Always 0.
  int RemoveFromCart(const Book& book);

  /// Takes the book at a position out of the local cart and saves the cart. Always 0.
  int RemoveFromCart(unsigned int index);

  // Checkout and payment.

  /// Logs in again with the stored credentials, sends the local cart to the server and takes over
  /// the server's cart, priced. The cart file is not written.
  /// \return always kOk; and the books that the server's cart does not hold. An empty cart with
  ///     all books dropped is how trouble with the server shows.
  std::tuple<ServerApi::Result, std::vector<Book>> CheckOut();

  /// Commits the cart's order for payment and, for "PAYPAL" and "CCARD", runs the browser on the
  /// payment page; returns when the browser has ended. Whether the user paid is learnt from
  /// CheckPaymentResult.
  /// \param pay_method  compared exactly; any other text commits the order without a browser.
  /// \return kFailed when the shop refused (with its text), named no payment page, or the browser
  ///     could not run. Once the shop has committed the order it stays pending, also after a
  ///     failure.
  ServerApi::Result StartPayment(const std::string& pay_method);

  /// Waits for the shop's verdict on the pending order, asking every five seconds while it is
  /// pending, without limit; then submits the order, empties the cart and loads the bought books.
  /// An order that was committed without a browser is submitted at once.
  /// \return kFailed when the payment failed or is in progress, or the shop refused (with its text)
  ///     or could not be asked; cart and pending order stay.
  ServerApi::Result CheckPaymentResult();

  /// Asks once about a pending order and loads the bought books.
  /// \return 0 when the shop answered, whatever it said; -1 when not, or when no order is pending.
  int CheckOrderIfNeeded();

  // Books and downloads.

  /// What a book is to the user.
  /// \param id  an EAN, or a path or address that ends in one.
  BookStatus GetBookStatusById(const std::string& id);

  /// What a book is to the user.
  BookStatus GetBookStatus(const std::string& ean);

  /// Queues the download of a bought book and returns what CheckDownloadState does; 0 for a book
  /// that is not bought.
  /// \param id  an EAN, or a path or address that ends in one.
  int DownloadBookById(const std::string& id);

  /// Moves the downloads on, without waiting: finishes the one that ended (names its file, tells
  /// the library scanner, or shows that it failed) and takes the next off the queue. An application
  /// calls it a few times a second while downloads run. A book taken off the queue while another
  /// one downloads is not downloaded: queue the next when the last has ended.
  /// \return 1 when a download ran at the time of the call, 0 when none did.
  int CheckDownloadState();

  // What the manager holds.

  /// The local cart; valid for the life of the manager, changed by its calls.
  const Cart& GetCart() const;

  /// The bought books as last fetched; valid until the manager's next call.
  const std::vector<Book>& GetPurchased() const;

  /// The server's timestamp of the last submitted order, for ConvertDateTime; empty when there is
  /// none.
  const std::string& GetOrderDatePlaced() const;

  /// Whether GetPurchased is what the user has bought: the last fetch of the list succeeded and
  /// its answer was readable. False before the first fetch, after LogOut and after a failed one;
  /// the empty list then says nothing.
  bool IsPurchasedKnown() const;

  /// The shop's configuration in force: the last good one. Valid for the life of the manager,
  /// changed by its calls.
  const SwitchboardConfig& GetConfig() const;

  /// The full path of the file of the last download, as its content type named it; empty when none
  /// has ended, and when the last one failed or was removed. Valid until the manager's next call.
  const std::string& GetSavedPath() const;

  /// Why the last call failed; empty after success. Where several things failed within one call
  /// this is the first, since the later ones are mostly its consequence; a call whose result is a
  /// success may have one. Asking (IsLoggedIn, getLogin, getPassword, GetShopName, GetClientId,
  /// the book states and what stands in this section) leaves it as it is, every other call begins
  /// without one. Valid until the next such call.
  const Failure& GetLastFailure() const;

 private:
  StoreManager();
  ~StoreManager();

  ServerApi server_api_;
  std::unique_ptr<FirstFailure> failure_;
  SwitchboardConfig switchboard_;
  std::string session_id_;
  Cart cart_;
  std::vector<Book> purchased_;
  bool purchased_known_ = false;
  std::vector<Book> download_queue_;
  opds::ResourceDownloader downloader_;
  std::future<int> download_future_;
  Book downloading_book_;
  std::string order_id_;
  std::string pay_method_;
  std::string order_date_placed_;
  std::string saved_path_;
};

}  // namespace saltmoor::quire

#endif  // QUIRE_STORE_MANAGER_H_
