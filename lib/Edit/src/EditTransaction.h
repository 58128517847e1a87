#pragma once

#include "JtwObjects.h"
#include "JtwTransaction.h"

namespace jtw {

/// A transaction that ends with the component as it was unless it is committed. Throws EditError
/// "not_supported" when it cannot begin or be committed.
class EditTransaction {
 public:
  explicit EditTransaction(Objects& objects);
  /// One that goes into a history of the component.
  EditTransaction(Objects& objects, JtwHistory& history);
  ~EditTransaction();
  EditTransaction(const EditTransaction&) = delete;
  EditTransaction& operator=(const EditTransaction&) = delete;

  void commit();

 private:
  void begin();
  [[noreturn]] void fail() const;

  Objects& objects_;
  JtwTransaction transaction_;
};

}  // namespace jtw
