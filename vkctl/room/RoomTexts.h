// The constant rows of a sample room and the file texts that are built into the program.
//
// schema_text() and ini_template() are examples/schema.sql and examples/vkApp.ini, taken over when
// the program is built, so that what is documented there and what is created are the same.
#pragma once

#include <string>
#include <vector>

#include "vkctl/room/RoomModel.h"

namespace vkctl
{

const std::string& schema_text();
const std::string& ini_template();

// Statements that fill the extension tables, the general tables and the host's own points.
std::vector<std::string> fixed_rows(const std::string& time);

// Statements that fill tbSMAlarm: four alarms long sent, two that wait to be sent.
std::vector<std::string> alarm_rows();

// The columns of a detail table in the order of detail_texts(), SID and key column first.
std::vector<std::string> detail_columns(const DetailTable& detail);

// What the key column of detail row `row` (from 1) holds.
std::string detail_key(const DetailTable& detail, int row);

} // namespace vkctl
