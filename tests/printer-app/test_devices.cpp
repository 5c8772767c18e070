// Listing devices without the DNS-SD daemon: "devices" and the web
// interface's Add Printer page say DNS-SD is unavailable and list the other
// devices, and the server stays up. The tests point the system bus, where
// avahi is reached, at a socket that does not exist, so the daemon is
// missing on every machine.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "AppServer.h"

namespace {

using kvapptest::AppServer;

class AppDevices : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kv-bus", 1); }
};

TEST_F(AppDevices, DevicesCommandWithoutTheDnsSdDaemonSaysSoAndEndsNormally)
{
    AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    const kvtool::CommandResult r = server.Command({"devices"});
    EXPECT_EQ(r.status, 0) << r.err;
    // PAPPL reports the listing's errors on standard output.
    EXPECT_NE(r.out.find("kivcp-printer-app: Unable to create service browser.\n"), std::string::npos) << r.out;
}

TEST_F(AppDevices, AddPrinterPageWithoutTheDnsSdDaemonOffersNetworkPrinters)
{
    AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    const AppServer::WebPage page = server.GetPage("/addprinter");
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("<option value=\"socket\">Network Printer</option>"), std::string::npos) << page.body;
}

TEST_F(AppDevices, ServerStaysUpAfterListingDevicesWithoutTheDnsSdDaemon)
{
    AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    ASSERT_EQ(server.GetPage("/addprinter").status, 200);
    EXPECT_NE(server.Log().find("[Device] Unable to create service browser."), std::string::npos) << server.Log();
    EXPECT_EQ(server.GetPage("/addprinter").status, 200) << server.Log();
    EXPECT_TRUE(server.AddPrinter("label", "kivcp_epl2_203dpi_4in")) << server.LastError();
}

}  // namespace
