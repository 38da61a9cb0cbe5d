#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "support/observe.h"

namespace {

using ::testing::TestEventListener;

/** Prints as GoogleTest always does, but never into the output that a test is just observing. */
class PrintBesideCapture : public ::testing::EmptyTestEventListener {
public:
    explicit PrintBesideCapture(TestEventListener *printer) : printer_(printer) {}

    void OnTestProgramStart(const ::testing::UnitTest &unit) override { printer_->OnTestProgramStart(unit); }
    void OnTestIterationStart(const ::testing::UnitTest &unit, int iteration) override
    {
        printer_->OnTestIterationStart(unit, iteration);
    }
    void OnEnvironmentsSetUpStart(const ::testing::UnitTest &unit) override
    {
        printer_->OnEnvironmentsSetUpStart(unit);
    }
    void OnTestSuiteStart(const ::testing::TestSuite &suite) override { printer_->OnTestSuiteStart(suite); }
    void OnTestStart(const ::testing::TestInfo &info) override { printer_->OnTestStart(info); }
    void OnTestPartResult(const ::testing::TestPartResult &result) override
    {
        const mcadapt::test::RealOutput real;
        printer_->OnTestPartResult(result);
    }
    void OnTestEnd(const ::testing::TestInfo &info) override { printer_->OnTestEnd(info); }
    void OnTestSuiteEnd(const ::testing::TestSuite &suite) override { printer_->OnTestSuiteEnd(suite); }
    void OnEnvironmentsTearDownStart(const ::testing::UnitTest &unit) override
    {
        printer_->OnEnvironmentsTearDownStart(unit);
    }
    void OnTestIterationEnd(const ::testing::UnitTest &unit, int iteration) override
    {
        printer_->OnTestIterationEnd(unit, iteration);
    }
    void OnTestProgramEnd(const ::testing::UnitTest &unit) override { printer_->OnTestProgramEnd(unit); }

private:
    const std::unique_ptr<TestEventListener> printer_;
};

} // namespace

int main(int argc, char **argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    auto &listeners = ::testing::UnitTest::GetInstance()->listeners();
    listeners.Append(new PrintBesideCapture(listeners.Release(listeners.default_result_printer())));
    return RUN_ALL_TESTS();
}
