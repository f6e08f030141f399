#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "discovery/xml_document.h"
#include "support/logger.h"
#include "tests/support/log_setup.h"

namespace ksp::test {

// One document, and what reading it logs.
class XmlTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(log_.Start(1)); }

    HRESULT Load(const std::wstring& text) { return document_.Load(MakeBstr(text)); }
    // The text of the first element of that name; "none" when there is none.
    std::wstring Find(const std::wstring& name) {
        return TextOf(document_.FindElementText(MakeBstr(name), found_));
    }
    std::wstring Find(const std::wstring& name, const std::wstring& attribute,
                      const std::wstring& value) {
        return TextOf(document_.FindElementByAttribute(MakeBstr(name), MakeBstr(attribute),
                                                       MakeBstr(value), found_));
    }

    LogSetup log_{Logger()};
    CXmlDocument document_;
    UniqueBstr found_;

  private:
    std::wstring TextOf(HRESULT result) {
        if (result != S_OK) {
            EXPECT_TRUE(FAILED(result));
            EXPECT_EQ(found_.Get(), nullptr) << "a look-up that fails gives no text";
            return L"none";
        }
        return std::wstring(found_.Get(), ::SysStringLen(found_.Get()));
    }
};

}  // namespace ksp::test
