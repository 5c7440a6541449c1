#include "saltmoor/utilities/book_store_auth_configs.h"

#include "tabulet.h"

namespace saltmoor::utilities {

void BookStoreAuthConfigs::logOut() {
  tb_unlink("/mnt/ext1/system/config/bookstore_auth.cfg");
}

}  // namespace saltmoor::utilities
