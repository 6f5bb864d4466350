#pragma once

#include <QtGlobal>

/// What a program needs to know to talk to the hub, besides the frames themselves.
namespace hub {

inline constexpr char kDefaultServicesName[] = "objects_admin";
inline constexpr char kDefaultClientsName[] = "objects_hub";

/// Action of the answers that the hub itself gives, in place of a service: the message is one of the texts below, the
/// data is empty, the connection is the operator number of the request.
inline constexpr char kHubMessage[] = "HubMessage";
inline constexpr char kNoService[] = "no service is connected";
inline constexpr char kServiceGone[] = "the service went away";
inline constexpr char kServiceTooLong[] = "the service was cut off: its frame is longer than 50000000 bytes";
inline constexpr char kServiceBusy[] = "the service does not keep up, the command is dropped";

/// Connection number of an action frame that is meant for all clients.
inline constexpr qint32 kEveryone = -1;

} // namespace hub
