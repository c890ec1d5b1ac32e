// Where the tickets live and the ticket store's own settings: everything sits
// in the CMS folder under the filter folder, with a settings.ini of its own.
#pragma once

#include "core/cSHAREDSettings.h"

#include <string>

namespace corva {

// The whole ticket feature stands only with key CMSMODE set.
bool CMSMode();

// The CMS folder under FilterFolder, ending in "/".
std::string CMSFolder();
std::string TicketIndexPath(); // Tickets.txt
std::string TicketFilePath(long number);
std::string DescFilePath(long number);
std::string CommentFilePath(long number);
// A template of the CMS folder by its file name ("ResponseInitial.txt" ...).
std::string CMSTemplatePath(const std::string& name);

// The ticket settings (LastTicket, ReturnEmail, SenderName, Webpath): made
// once and read from settings.ini, the folder made when missing. They are
// read afresh when the filter folder has moved.
cSHAREDSettings& CMSSettings();
// Writes settings.ini and makes the Tickets, Desc and Comments folders.
bool SaveCMSSettings();
// Forgets the loaded settings, so the next use reads the file again.
void ResetCMSSettings();
// Makes the three record folders, and a web template and first response when
// there are none, so a fresh CMS folder publishes and acknowledges at once.
void MakeCMSFolders();

// The operator's address for acknowledgements: ReturnEmail, else the reply
// address of the default sending account.
std::string CMSReturnEmail();

} // namespace corva
