#include "EditTransaction.h"

#include "JtLastError.h"
#include "JtwEditError.h"

namespace jtw {

EditTransaction::EditTransaction(Objects& objects)
    : objects_(objects), transaction_(objects.root()) {
  begin();
}

EditTransaction::EditTransaction(Objects& objects, JtwHistory& history)
    : objects_(objects), transaction_(history) {
  begin();
}

void EditTransaction::begin() {
  if (!transaction_.begin()) fail();
}

EditTransaction::~EditTransaction() {
  if (!transaction_.isOpen()) return;
  transaction_.rollBack();
  objects_.forgetChanges();
}

void EditTransaction::commit() {
  if (transaction_.commit()) return;
  objects_.forgetChanges();
  fail();
}

void EditTransaction::fail() const {
  failRefused(objects_.document(), "not_supported", jt::lastError());
}

}  // namespace jtw
