// Helpers for the PPD tests: the "PPD" environment variable set for one
// test, and a PPD opened the way the filter opens it (defaults marked, then
// the job's options applied).
#ifndef KV_TESTS_FILTER_PPD_TEST_SUPPORT_H
#define KV_TESTS_FILTER_PPD_TEST_SUPPORT_H

#include <cstdlib>
#include <memory>
#include <string>

#include <cups/cups.h>
#include <cups/ppd.h>

#include <gtest/gtest.h>

#include "TempDir.h"
#include "TestFiles.h"

namespace ppdtest {

// Sets (or, for a null value, removes) an environment variable for the
// holder's lifetime and restores the old state afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name)
    {
        const char* old = std::getenv(name);
        hadOld_ = old != nullptr;
        if (hadOld_)
            old_ = old;
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedEnv()
    {
        if (hadOld_) {
            setenv(name_.c_str(), old_.c_str(), 1);
        } else {
            unsetenv(name_.c_str());
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    std::string old_;
    bool hadOld_ = false;
};

// Closes a PPD handle with ppdClose.
struct PpdCloser {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdHandle = std::unique_ptr<ppd_file_t, PpdCloser>;

// Returns the PPD at `path` opened without marking anything.
inline PpdHandle OpenUnmarked(const std::string& path)
{
    return PpdHandle(ppdOpenFile(path.c_str()));
}

// Returns the PPD at `path` prepared as the filter prepares it: defaults
// marked, then the job's option string parsed and marked.
inline PpdHandle OpenLikeFilter(const std::string& path, const char* jobOptions)
{
    PpdHandle ppd(ppdOpenFile(path.c_str()));
    if (!ppd)
        return ppd;
    ppdMarkDefaults(ppd.get());
    cups_option_t* options = nullptr;
    const int count = cupsParseOptions(jobOptions, 0, &options);
    cupsMarkOptions(ppd.get(), count, options);
    cupsFreeOptions(count, options);
    return ppd;
}

// The smallest PPD text that the CUPS PPD reader accepts, followed by `body`.
inline std::string MinimalPpd(const std::string& body)
{
    return "*PPD-Adobe: \"4.3\"\n"
           "*FormatVersion: \"4.3\"\n"
           "*LanguageVersion: English\n"
           "*LanguageEncoding: ISOLatin1\n"
           "*ModelName: \"Label Printer\"\n"
           "*NickName: \"Label Printer\"\n" +
           body;
}

// Test base that writes a PPD file into a private directory and points the
// "PPD" variable at it.
class PpdFileTest : public ::testing::Test {
protected:
    // Writes `text` as the test's PPD file and makes it the job's PPD.
    void UsePpd(const std::string& text)
    {
        ASSERT_TRUE(kvtest::WriteFile(Path(), text));
        env_.reset();  // restore the old value before saving it again
        env_ = std::make_unique<ScopedEnv>("PPD", Path().c_str());
    }

    // Returns the path of the test's PPD file.
    std::string Path() const { return dir_.File("job.ppd"); }

    kvtest::TempDir dir_;
    std::unique_ptr<ScopedEnv> env_;
};

}  // namespace ppdtest

#endif  // KV_TESTS_FILTER_PPD_TEST_SUPPORT_H
