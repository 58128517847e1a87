#pragma once

#include "DmKrUtilsExport.h"
#include "IStream.h"
#include "JtRefCounted.h"

/// Holds the stream of a document for the JT library; owns one reference on it.
class DMKR_API DmKrUtilsStreamObject : public JtRefCounted {
 public:
  /// @param stream the stream that the object shares; may be null
  explicit DmKrUtilsStreamObject(CComPtr<IStream> stream) : stream_(std::move(stream)) {}

  /// The stream, not owned; may be null.
  IStream* stream() const { return stream_.get(); }

 private:
  CComPtr<IStream> stream_;
};
