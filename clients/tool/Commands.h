#pragma once

#include "clients/tool/Session.h"
#include "commandline/Command.h"

namespace Ostrel::Client::Tool {

using CommandLine::Command;

// Each returns one command, which works with this session.
Command makeServices(Session& session);
Command makeSignal(Session& session);
Command makeTime(Session& session);
Command makeGenres(Session& session);
Command makeNow(Session& session);
Command makeGuide(Session& session);
Command makeQuery(Session& session);
Command makeScan(Session& session);
Command makeTransponders(Session& session);
Command makeClock(Session& session);
Command makeWeather(Session& session);
Command makeReset(Session& session);
Command makeCall(Session& session);
Command makeWatch(Session& session);
Command makeTraffic(Session& session);
Command makeReplay(Session& session);

} // namespace Ostrel::Client::Tool
