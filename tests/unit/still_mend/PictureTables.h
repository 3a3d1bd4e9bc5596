#pragma once

#include <string>
#include <vector>

namespace test {

/// Damages the JPEGs of a folder, salvages them, and prints what was in place: a summary by damage, and each
/// picture that is worse than libjpeg's or that is claimed to be more than it is.
///
///   DIR           the folder
///   --cells       print every picture
///   --damage TEXT only damages with this in their name
///   --picture TEXT only pictures with this in their name
///   --some N      only one trial in N
///   --most KIB    leave out larger files
///   --threads N   two unless given
///   --keep DIR    write the damaged files there
///
/// Returns the exit code of the program. Throws std::exception.
[[nodiscard]] int print_picture_tables(const std::vector<std::string>& arguments);

} // namespace test
