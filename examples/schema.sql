-- The host's two databases, table by table.
--
-- Other programs of the host own these tables: the polling processes write the readings, the
-- alarm process writes the alarms. The forwarder only reads them, with one exception: it marks
-- an alarm as sent (tbSMAlarm.AFld). A line that begins with "-- database:" tells which file the
-- statements below it belong to; `vkctl room` creates both files from this text.
--
-- What a column holds matters more than its declared type: columns are read as text or as 32-bit
-- integers. Times are local, "YYYY-MM-DD hh:mm:ss".

-- database: tmp/dbDat0.db3

-- One row for everything that has an identity: devices, digital inputs, cameras, the host's own
-- input/output module. Tables whose names begin with tbSM are never taken for device tables.
CREATE TABLE tbSM (
    SID      INTEGER PRIMARY KEY, -- device identifier, unique over all tables
    Kind     INTEGER NOT NULL,    -- 3072: a camera
    Type     INTEGER NOT NULL,    -- device type; bits 8 to 15 are the alarm class
    Name     TEXT    NOT NULL,
    Note     TEXT,
    Tag1     INTEGER DEFAULT 0,   -- free for the site: here the row of cabinets
    ASubSys  INTEGER DEFAULT 0,   -- subsystem: 1 power, 2 cooling, 3 environment, 4 security
    State    INTEGER DEFAULT 0,   -- a camera is found only when this is 0 at discovery
    DataMode INTEGER DEFAULT 1,   -- a camera is found only when this is 1 at discovery
    SerDef   TEXT,                -- how to reach a camera; posted as it is
    LastUpd  TEXT
);

-- Device tables. One row is one device. All begin with the same eight columns, which are not
-- posted as values; every column behind them is posted under its own name.
--   SID, Type   as in tbSM
--   Port, Addr  serial port and bus address
--   State       0 normal, 1 alarm, 2 no communication, 3 recovered; below 0: out of service, not posted
--   ErrCnt      communication errors in a row
--   DateUpd     when the row was last written
--   DateOk      when the device last answered

CREATE TABLE tbUps (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Uin    REAL,    -- V, mains
    Fin    REAL,    -- Hz, mains
    Uout   REAL,    -- V
    Iout   REAL,    -- A
    Load   REAL,    -- %
    Ubat   REAL,    -- V
    BatCap INTEGER, -- %
    Tem    REAL,    -- degrees Celsius
    Run    INTEGER, -- operating mode, see vkApp.ini
    Alm    INTEGER  -- eight alarm bits, see vkApp.ini
);

CREATE TABLE tbAirCon (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    TemRet REAL,    -- degrees Celsius, return air
    TemSup REAL,    -- degrees Celsius, supply air
    TemSet REAL,    -- degrees Celsius, set point
    HumRet REAL,    -- % relative humidity, return air
    HumSet REAL,    -- % relative humidity, set point
    FanSpd INTEGER, -- %
    Run    INTEGER, -- operating mode, see vkApp.ini
    Alm    INTEGER  -- sixteen alarm bits, see vkApp.ini
);

-- Battery strings under three makes of monitor: their cells come in three layouts (below).
CREATE TABLE tbBattery (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Vol REAL,    -- V, whole string
    Cur REAL,    -- A, charging is positive
    Soc INTEGER, -- %
    Tem REAL,    -- degrees Celsius, ambient
    Alm INTEGER  -- eight alarm bits, see vkApp.ini
);
CREATE TABLE tbBatteryB (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Vol REAL, Cur REAL, Soc INTEGER, Tem REAL, Alm INTEGER
);
CREATE TABLE tbBatteryC (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Vol REAL, Cur REAL, Soc INTEGER, Tem REAL, Alm INTEGER
);

CREATE TABLE tbTempHum (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Tem    REAL,    -- degrees Celsius
    Hum    REAL,    -- % relative humidity
    TemRaw INTEGER, -- converter reading, kept on the host: tbTempHum.flds=2 in vkApp.ini
    HumRaw INTEGER
);

CREATE TABLE tbMeter (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    Ua REAL, Ub REAL, Uc REAL, -- V
    Ia REAL, Ib REAL, Ic REAL, -- A
    P   REAL,    -- kW
    PF  REAL,
    F   REAL,    -- Hz
    Ep  REAL,    -- kWh, counts up
    Alm INTEGER  -- twenty-four alarm bits, see vkApp.ini
);

-- A cable with many temperature points along a row of cabinets.
CREATE TABLE tbTempChain (
    SID INTEGER PRIMARY KEY, Type INTEGER, Port INTEGER, Addr INTEGER,
    State INTEGER, ErrCnt INTEGER, DateUpd TEXT, DateOk TEXT,
    TemMax REAL, TemMin REAL, TemAvg REAL -- degrees Celsius
);

-- Detail tables: any number of rows for one device, appended to its body. The layout that a
-- table has is told by its mode in section POST.Detail of vkApp.ini.
CREATE TABLE tbBatCell (    -- mode 100
    SID INTEGER, Addr INTEGER,
    State INTEGER,
    Vol INTEGER,            -- mV
    Reg INTEGER,            -- internal resistance, microohm
    Tem INTEGER,            -- 0.1 degrees Celsius
    PRIMARY KEY (SID, Addr)
);
CREATE TABLE tbBatCellB (   -- mode 101
    SID INTEGER, Fld INTEGER,
    State INTEGER,
    V INTEGER,              -- mV
    T INTEGER,              -- 0.1 degrees Celsius
    PRIMARY KEY (SID, Fld)
);
CREATE TABLE tbBatCellC (   -- mode 102
    SID INTEGER, Fld INTEGER,
    Vol INTEGER,            -- mV
    Tem INTEGER,            -- 0.1 degrees Celsius
    bSt INTEGER,            -- 0 float, 1 charge, 2 discharge
    PRIMARY KEY (SID, Fld)
);
CREATE TABLE tbTempPoint (  -- mode 103
    SID INTEGER, Fld INTEGER,
    dat0 INTEGER,           -- 0.1 degrees Celsius
    PRIMARY KEY (SID, Fld)
);
CREATE TABLE tbUpsItem (    -- mode 200
    SID INTEGER, Fld INTEGER,
    Val TEXT,
    ValStr TEXT,            -- unit; a row without one is not posted
    PRIMARY KEY (SID, Fld)
);
CREATE TABLE tbMeterLoop (  -- mode 201
    SID INTEGER, Fld INTEGER,
    Val TEXT,               -- A; a spare circuit is empty and not posted
    PRIMARY KEY (SID, Fld)
);
CREATE TABLE tbAirItem (    -- mode 202
    SID INTEGER, Fld TEXT,  -- the name under which Val is posted
    Val TEXT,
    PRIMARY KEY (SID, Fld)
);

-- Extension tables: one row for a device type; its columns are added to every device of the type.
CREATE TABLE tbExtUps (
    Type INTEGER PRIMARY KEY,
    DateUpd TEXT,
    SysLoad REAL,           -- kW, all UPS together
    SysRate REAL,           -- %
    SysMode INTEGER         -- see vkApp.ini
);
CREATE TABLE tbExtAir (
    Type INTEGER PRIMARY KEY,
    DateUpd TEXT,
    ColdAisle REAL,         -- degrees Celsius, mean
    HotAisle REAL,          -- degrees Celsius, mean
    Group1 INTEGER,         -- units at work
    Group2 INTEGER          -- units standing by
);

-- General tables: no devices; every row is a body of its own.
CREATE TABLE tbGenEnergy (
    ID INTEGER PRIMARY KEY,
    Item TEXT, Value REAL, Unit TEXT, DateUpd TEXT
);
CREATE TABLE tbGenPort (
    Port INTEGER PRIMARY KEY,
    Proto TEXT, Baud INTEGER, Online INTEGER, DateUpd TEXT
);

-- Digital inputs. A row whose SID equals its SIDD stands for the module itself and is not posted.
CREATE TABLE tbSubSysDetail (
    SID     INTEGER PRIMARY KEY, -- the input's own identifier, as in tbSM
    SIDD    INTEGER NOT NULL,    -- the device that the input is wired to: psid
    Fld     INTEGER NOT NULL,    -- which input of that device: pfld
    Type    INTEGER NOT NULL,
    State   INTEGER NOT NULL,    -- below 0: not wired, not posted
    LastUpd TEXT
);

-- The host's own inputs and outputs, one row with SID 1. D00 to D08 are inputs; the outputs begin
-- at the column that POST.DO/Start in vkApp.ini names.
CREATE TABLE tbDio (
    SID INTEGER PRIMARY KEY, Type INTEGER, State INTEGER, DateUpd TEXT,
    D00 INTEGER, D01 INTEGER, D02 INTEGER, D03 INTEGER, D04 INTEGER, D05 INTEGER,
    D06 INTEGER, D07 INTEGER, D08 INTEGER, D09 INTEGER, D10 INTEGER, D11 INTEGER
);

-- database: tmp/dbData.db3

-- Alarms, oldest first by DID. A new row is followed by the signal SIGRTMIN+1 to the forwarder. A
-- clearing is a new row, or the old one changed once it is marked: "update tbSMAlarm set Alm=Alm|4,
-- LastUpd=.., AFld=0 where DID=.. and AFld=1", again a second later while it changes no row. The
-- mark goes by DID alone: a change while the alarm is being posted would be marked with it.
CREATE TABLE tbSMAlarm (
    DID      INTEGER PRIMARY KEY,
    SID      INTEGER NOT NULL,
    Type     INTEGER NOT NULL, -- bits 8 to 15: alarm class, gives the level
    Alm      INTEGER NOT NULL, -- bits: 4 cleared, 8 sent again, 16 fault, 3840 not sent out
    LastUpd  TEXT    NOT NULL,
    AlmBrief TEXT    NOT NULL, -- title
    AlmMask  INTEGER DEFAULT 0, -- bits: 1 siren, 2 voice, 4 SMS, 8 MMS, 16 call, 32 mail, 64 POST
    AlmImg   TEXT,
    AFld     INTEGER           -- NULL or below 1: not sent yet; the forwarder sets 1
);
