// The program's entry.
#include "app/AgentInstaller.h"
#include "app/ApplyCommand.h"
#include "app/CleanCommand.h"
#include "app/ConfigureCommand.h"
#include "app/PreviewCommand.h"
#include "app/StatusCommand.h"

using namespace Zorvane::AgentInstaller;

int main(int argc, char** argv) {
    corekit::Init();
    AgentInstaller application(argc, argv);
    application.SetName(L"qdn-configure.bin");
    application.SetProduct(L"qdn-configure");
    application.SetVersion(L"" QDN_VERSION);
    application.RegisterCommand(L"-configure", std::make_unique<ConfigureCommand>());
    application.RegisterCommand(L"-iconfigure", std::make_unique<InteractiveConfigureCommand>());
    application.RegisterCommand(L"-clean", std::make_unique<CleanCommand>());
    application.RegisterCommand(L"-preview", std::make_unique<PreviewCommand>(application.Version()));
    application.RegisterCommand(L"-apply", std::make_unique<ApplyCommand>(application.Version()));
    application.RegisterCommand(L"-status", std::make_unique<StatusCommand>(application.Version()));
    return application.AppMain();
}
