#include "transfer/transfer_status.h"

#include "foundation/core/log.h"

namespace kx {

void MTransferStatus::Set(const MString& text, bool setValue, double value) {
  MString line("  info : ");
  line.Append(text);
  MLog::Line(line);
  double stored = 0.0;
  {
    MLock hold(lock_);
    text_ = text;
    if (setValue) value_ = value;
    stored = value_;
  }
  if (onChange) onChange(text, stored);
}

MString MTransferStatus::Text() const {
  MLock hold(lock_);
  return text_;
}

double MTransferStatus::Value() const {
  MLock hold(lock_);
  return value_;
}

}  // namespace kx
