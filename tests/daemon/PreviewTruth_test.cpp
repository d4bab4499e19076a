// What vkctl preview says about a pair is what made it: the texts whose keys it names, joined by
// blanks, or the stored value, are what stands in the body. The bodies themselves are the daemon's
// (see Preview_test.cpp).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AppRules.h"
#include "tests/daemon/support/HostDir.h"
#include "tests/daemon/support/RandomHost.h"
#include "vkctl/preview/Preview.h"

using vkctl::CPreview;
using vkctl::PreviewBody;
using vkctl::PreviewCell;
using vkctl::PreviewPart;

namespace
{

constexpr char kFields[] = "POST.xFld";

bool has_texts(const SimpleIni& ini, int type, const std::string& column)
{
    const int kind = ini.GetValue<int>(kFields, std::to_string(type) + "." + column, 0);
    return kind >= 1 && kind <= 4;
}

// The texts at the keys that an explanation names for a value.
std::string joined_texts(const SimpleIni& ini, const std::string& key, int number)
{
    const int kind = field_kind(ini, key);
    const std::string fallback = kind == 1 ? ini.GetValue(kFields, key + kFallbackSuffix, "") : "";
    std::string text;
    for (const std::string& suffix : field_suffixes(kind, number))
    {
        text += (text.empty() ? "" : " ") + ini.GetValue(kFields, key + suffix, fallback);
    }
    return text;
}

class PreviewTruth : public ::testing::TestWithParam<unsigned>
{
protected:
    // Every pair of a column of the body; the number of those that texts were put into.
    static int CheckPairs(const PreviewBody& body, const SimpleIni& ini)
    {
        int with_texts = 0;
        for (const PreviewPart& part : body.parts)
        {
            if (!part.cells.empty() &&
                part.text.rfind("&" + part.cells.back().column + "=", 0) == 0)
            {
                CheckPair(part, body.type, ini);
                with_texts += has_texts(ini, body.type, part.cells.back().column) ? 1 : 0;
            }
        }
        return with_texts;
    }

    static void CheckPair(const PreviewPart& part, int type, const SimpleIni& ini)
    {
        const PreviewCell& cell = part.cells.back();
        const std::string value = has_texts(ini, type, cell.column)
                                      ? joined_texts(ini, field_key(type, cell.column), cell.number)
                                      : cell.value;
        EXPECT_EQ(part.text, "&" + cell.column + "=" + value)
            << cell.table << "." << cell.column << " = " << cell.value;
    }
};

} // namespace

TEST_P(PreviewTruth, TextsNamedAreTheValue)
{
    SCOPED_TRACE("seeds from " + std::to_string(GetParam()));
    int checked = 0;
    for (unsigned seed = GetParam(); seed < GetParam() + 20; ++seed)
    {
        CHostDir host;
        make_random_host(host, seed, {"http://127.0.0.1:1/post", "http://127.0.0.1:1/alarm"});
        CPreview preview(host.Path());
        preview.Run({},
                    [&](const PreviewBody& body)
                    {
                        if (body.kind == vkctl::BodyKind::kDevice ||
                            body.kind == vkctl::BodyKind::kGeneral)
                        {
                            checked += CheckPairs(body, preview.Poster().m_ini);
                        }
                    },
                    {});
    }
    EXPECT_GT(checked, 20);
}

INSTANTIATE_TEST_SUITE_P(Seeds, PreviewTruth, ::testing::Values(1U, 21U, 41U, 61U, 81U));
