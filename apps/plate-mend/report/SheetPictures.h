#pragma once

#include "files/Protected.h"
#include "files/SafeOutput.h"
#include "platform/Files.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// The folder for a contact sheet's pictures, where they are not inside the page.
//
// A picture is called by its content, so that the page of an earlier run never shows one of another file, and
// so that the folder of a sheet is recognised: only one that has nothing else in it is ever replaced.

namespace plate_mend::host {

/// The folder's path: "sheet_files" for "sheet.html", as browsers call the folder of a page they save.
[[nodiscard]] std::filesystem::path pictures_folder_of(const std::filesystem::path& page);

/// Why there cannot be a folder for pictures, for the user; nothing where there can. An existing one is
/// refused unless it may be replaced, and anyway if it has anything but the pictures of a contact sheet, as
/// they were written, or if one of these is an input. Throws MachineFailure where it cannot be examined.
[[nodiscard]] std::optional<std::string> refuse_pictures(const std::filesystem::path& folder,
                                                         const Protected& inputs, bool may_replace);

/// Pictures of a page that is being made. They are in a private folder beside it until they are published.
class SheetPictures {
  public:
    /// Starts for this page. Throws MachineFailure.
    ///
    ///   inputs   must outlive this object
    ///   replace  whether a folder of an earlier sheet may be replaced
    SheetPictures(const std::filesystem::path& page, const Protected& inputs, bool replace);

    /// Keeps a JPEG; returns its name in the folder. Throws MachineFailure.
    [[nodiscard]] std::string add(std::string_view jpeg);
    /// The bytes of a JPEG that was added. Throws MachineFailure.
    [[nodiscard]] std::string read(const std::string& name) const;

    /// Gives the folder its name in one step, in place of one that may be replaced. Throws MachineFailure,
    /// also when the name has been taken meanwhile; then that stays.
    void publish();
    /// Removes the folder that was at that name, if it may be replaced; leaves anything else alone.
    void remove_old();
    /// Undoes publish() or remove_old(), as far as possible. Never throws.
    void take_back();

    /// Of the folder, under whatever name.
    [[nodiscard]] platform::FileStamp stamp() const { return stamp_; }
    /// Private; removed with this object.
    [[nodiscard]] const std::filesystem::path& private_folder() const { return private_->path(); }

  private:
    [[nodiscard]] std::filesystem::path growing() const;
    [[nodiscard]] std::filesystem::path old() const;

    std::filesystem::path folder_;
    const Protected* inputs_; // A pointer, since this object is moved.
    bool replace_;
    std::unique_ptr<PrivateFolder> private_;
    platform::FileStamp stamp_;
};

} // namespace plate_mend::host
