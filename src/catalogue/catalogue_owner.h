// CatalogueOwner: what the catalogue records ask of the object that owns them
// (the application). The records hold a pointer to it; it may be null where no
// application exists (tools, tests), and then every answer is "no work runs".
//
// The application implements this; the catalogue library cannot see the
// application's class, since dependencies point from the application down.
#pragma once

namespace kx {

class CatalogueOwner {
 public:
  virtual ~CatalogueOwner() = default;
  // Installation or removal of add-ons is under way.
  virtual bool IsAddonWorkRunning() const = 0;
  // A package install, change, update or uninstall is under way.
  virtual bool IsPackageWorkRunning() const = 0;
};

}  // namespace kx
