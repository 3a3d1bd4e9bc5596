#pragma once

#include "api/AbstractRepair.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace plate_mend {

/// The process-wide table of repairers by extension. Filled while the library loads, read-only afterwards.
///
///   key     repairer       key     repairer      key     repairer
///   arw     ArwRepair      raf     RafRepair     nef     NefRepair
///   raw     ArwRepair      dng     DngRepair     orf     OrfRepair
///   sr2     Sr2Repair      cr2     Cr2Repair     cr3     Cr3Repair
class RepairRegistry {
  public:
    using Factory = std::function<std::shared_ptr<AbstractRepair>()>;

    /// The one registry, made on first use so that it exists for every static registrar.
    static RepairRegistry& instance();

    /// Adds a factory for a lower-case extension without its dot. It replaces an earlier one.
    void add(const std::string& extension, Factory factory);

    /// A new repairer for the extension, compared bytewise; null when there is none.
    [[nodiscard]] std::shared_ptr<AbstractRepair> create(const std::string& extension) const;

    /// All extensions with their factories, in order of the extension.
    [[nodiscard]] const std::map<std::string, Factory>& factories() const;

  private:
    std::map<std::string, Factory> factories_;
};

/// Registers a factory in its constructor. Each repairer's source file has one static object per extension.
class RepairRegistrar {
  public:
    RepairRegistrar(const char* extension, RepairRegistry::Factory factory);
};

} // namespace plate_mend
