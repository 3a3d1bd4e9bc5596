#include "report/Markup.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

namespace fs = std::filesystem;

TEST(Markup, NothingOfATextIsMarkup) {
    EXPECT_EQ(escape("<b a=\"x\" b='y'>&amp;</b>"),
              "&lt;b a=&quot;x&quot; b=&#39;y&#39;&gt;&amp;amp;&lt;/b&gt;");
    EXPECT_EQ(escape("a\x01\x1E\n\xFF"), "a???\xEF\xBF\xBD");
}

TEST(Markup, Base64HasTheSizeThatIsForeseen) {
    for (std::size_t size = 0; size < 10; ++size) {
        EXPECT_EQ(base64(std::string(size, 'x')).size(), base64_size(size));
    }
    EXPECT_EQ(base64("any carnal pleas"), "YW55IGNhcm5hbCBwbGVhcw==");
}

TEST(Markup, OnlyPlainLettersStayInAnAddress) {
    EXPECT_EQ(percent_encoded("aZ09-._~"), "aZ09-._~");
    EXPECT_EQ(percent_encoded(" \"#%&'/:<>?\\`\xC3\xA4\xFF\x01"),
              "%20%22%23%25%26%27%2F%3A%3C%3E%3F%5C%60%C3%A4%FF%01");
}

class LinksOfAPage : public ::testing::Test {
  protected:
    [[nodiscard]] std::string to(const fs::path& file) const { return links.to(test::utf8(file)); }

    test::TempDir folder;
    Links links{folder / "sheets" / "today"};
};

TEST_F(LinksOfAPage, AreRelative) {
    EXPECT_EQ(to(folder / "sheets" / "today" / "a.arw"), "a.arw");
    EXPECT_EQ(to(folder / "sheets" / "today" / "b" / "a.arw"), "b/a.arw");
    EXPECT_EQ(to(folder / "out" / "a.arw"), "../../out/a.arw");
    EXPECT_EQ(to(folder / "sheets" / "." / "x" / ".." / "a.arw"), "../a.arw");
}

TEST_F(LinksOfAPage, AreNeverOfAnotherKindOfAddress) {
    EXPECT_EQ(to(folder / "sheets" / "today" / "javascript:alert(1)"), "javascript%3Aalert%281%29");
    EXPECT_EQ(to(folder / "sheets" / "today" / "a#b?c.arw"), "a%23b%3Fc.arw");
    EXPECT_EQ(to(folder / "sheets" / "today" / u8"<ä \"'&.arw"), "%3C%C3%A4%20%22%27%26.arw");
}

TEST_F(LinksOfAPage, OfANameAloneAreOfTheCurrentFolder) {
    const Links here{fs::current_path()};
    EXPECT_EQ(here.to("a b.arw"), "a%20b.arw");
    EXPECT_EQ(here.to("x/../y/a.arw"), "y/a.arw");
}

} // namespace
} // namespace plate_mend::host
