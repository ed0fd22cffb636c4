#pragma once

namespace appliance {

/// Raised with every change of the schema below. An instance made before gets the tables that it
/// does not have; so a change adds a table and leaves the columns of the others as they are.
inline constexpr int kSchemaVersion = 1;

/// What an instance remembers. Sizes carry their unit in the column's name.
inline constexpr const char* kSchema = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE IF NOT EXISTS setting(key TEXT PRIMARY KEY, value TEXT);

CREATE TABLE IF NOT EXISTS drive(
    dev_id INTEGER PRIMARY KEY, vendor TEXT, model TEXT, serial_no TEXT, revision TEXT, wwn TEXT,
    block_size INTEGER, block_count INTEGER, form_factor INTEGER, interface_type INTEGER,
    rotation_speed INTEGER, flags INTEGER, sys_name TEXT, log_name TEXT,
    factory_spare_percent REAL, seed INTEGER,
    temperature REAL, temperature_time REAL, power_on_hours INTEGER DEFAULT 0, wear_percent INTEGER DEFAULT 0,
    meta_type INTEGER DEFAULT 7);
CREATE TABLE IF NOT EXISTS partition(
    dev_id INTEGER, part_no INTEGER, name TEXT, start_kib INTEGER, size_kib INTEGER,
    PRIMARY KEY(dev_id, part_no));

CREATE TABLE IF NOT EXISTS reserved_raid(raid_id INTEGER PRIMARY KEY);
CREATE TABLE IF NOT EXISTS raid(raid_id INTEGER PRIMARY KEY, raid_level INTEGER, capacity_kib INTEGER);
CREATE TABLE IF NOT EXISTS removed_raid(raid_id INTEGER PRIMARY KEY);
CREATE TABLE IF NOT EXISTS raid_drive(
    raid_id INTEGER, position INTEGER, dev_id INTEGER, spare INTEGER DEFAULT 0,
    PRIMARY KEY(raid_id, spare, position));
CREATE TABLE IF NOT EXISTS speed_down(uid TEXT PRIMARY KEY);
CREATE TABLE IF NOT EXISTS pool(pool_id INTEGER PRIMARY KEY);
CREATE TABLE IF NOT EXISTS pool_member(
    pool_id INTEGER, position INTEGER, raid_id INTEGER, striped INTEGER,
    PRIMARY KEY(pool_id, position));
CREATE TABLE IF NOT EXISTS lv(
    lv_id INTEGER PRIMARY KEY, pool_id INTEGER, name TEXT UNIQUE, mode INTEGER, type INTEGER,
    sectors INTEGER);
CREATE TABLE IF NOT EXISTS volume(
    volume_id INTEGER PRIMARY KEY, path TEXT, mounted INTEGER, default_share INTEGER);
CREATE TABLE IF NOT EXISTS service(name TEXT PRIMARY KEY, running INTEGER);

CREATE TABLE IF NOT EXISTS event(
    event_no INTEGER PRIMARY KEY, time INTEGER, type INTEGER, user TEXT, address TEXT,
    computer TEXT, description TEXT);
CREATE TABLE IF NOT EXISTS notice(
    notice_no INTEGER PRIMARY KEY, time INTEGER, way TEXT, message_id TEXT, severity INTEGER,
    title TEXT, message TEXT, detail TEXT);
CREATE TABLE IF NOT EXISTS upload(
    upload_no INTEGER PRIMARY KEY, time INTEGER, action TEXT, product TEXT, kind TEXT,
    test TEXT, event TEXT);

CREATE TABLE IF NOT EXISTS journal(
    row_no INTEGER PRIMARY KEY, time REAL, pid INTEGER, name TEXT, arguments TEXT, result TEXT);
CREATE TABLE IF NOT EXISTS call_count(name TEXT PRIMARY KEY, count INTEGER);
CREATE TABLE IF NOT EXISTS fault(
    fault_no INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, nth INTEGER, kind TEXT, value INTEGER);
COMMIT;
)sql";

}  // namespace appliance
