#pragma once

#include <cstdint>
#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// The two release labels of related products that the host shows beside a JT version.
struct ApiGraJtReleaseLabels {
  RWClassicCString label2;
  RWClassicCString label1;

  friend bool operator==(const ApiGraJtReleaseLabels&, const ApiGraJtReleaseLabels&) = default;
};

/// One JT version that the host may offer for writing.
class HOST_API ApiGraJtVersionData {
 public:
  /// The versions; any other 32-bit value can be carried too.
  enum apiGraJtVersion : std::int32_t {
    JT_VERSION_8_2 = 0,
    JT_VERSION_9_5 = 1,
    JT_VERSION_10_0 = 2,
    JT_VERSION_10_2 = 3,
  };

  /// A version with the texts that a host shows for it.
  ApiGraJtVersionData(apiGraJtVersion version, const RWClassicCString& jtFormatVersion,
                      const RWClassicCString& releaseLabel2, const RWClassicCString& releaseLabel1)
      : version_(version), formatVersion_(jtFormatVersion), labels_{releaseLabel2, releaseLabel1} {}

  /// The number of the version.
  apiGraJtVersion version() const { return version_; }
  /// The JT file format version as text, such as "9.5".
  const RWClassicCString& jtFormatVersion() const { return formatVersion_; }
  const RWClassicCString& releaseLabel2() const { return labels_.label2; }
  const RWClassicCString& releaseLabel1() const { return labels_.label1; }

  /// The host's configuration: the labels set for a version, empty until setConfiguredLabels().
  /// Whoever builds a version list asks once, so set them before. Safe from any thread.
  static ApiGraJtReleaseLabels configuredLabels(apiGraJtVersion version);
  static void setConfiguredLabels(apiGraJtVersion version, ApiGraJtReleaseLabels labels);

  friend bool operator==(const ApiGraJtVersionData&, const ApiGraJtVersionData&) = default;

 private:
  apiGraJtVersion version_;
  RWClassicCString formatVersion_;
  ApiGraJtReleaseLabels labels_;
};
