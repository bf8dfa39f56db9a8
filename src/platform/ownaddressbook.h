#pragma once

/// What QtContacts calls the show's own address book. It is known here, and not only where the book
/// is made, because the log and our child processes tell it from the stores of others.
namespace platform {

/// The name of the store.
constexpr char OWN_ADDRESS_BOOK[] = "pixmoth";

/// The variable of the environment that names the store which is asked where none is named.
constexpr char DEFAULT_ADDRESS_BOOK_VARIABLE[] = "QTCONTACTS_MANAGER_OVERRIDE";

} // namespace platform
