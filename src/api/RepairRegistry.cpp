#include "api/RepairRegistry.h"

#include <utility>

namespace plate_mend {

RepairRegistry& RepairRegistry::instance() {
    static RepairRegistry registry;
    return registry;
}

void RepairRegistry::add(const std::string& extension, Factory factory) {
    factories_.insert_or_assign(extension, std::move(factory));
}

std::shared_ptr<AbstractRepair> RepairRegistry::create(const std::string& extension) const {
    const auto found = factories_.find(extension);
    return found == factories_.end() ? nullptr : found->second();
}

const std::map<std::string, RepairRegistry::Factory>& RepairRegistry::factories() const {
    return factories_;
}

RepairRegistrar::RepairRegistrar(const char* extension, RepairRegistry::Factory factory) {
    RepairRegistry::instance().add(extension, std::move(factory));
}

} // namespace plate_mend
