BEGIN TRANSACTION;
CREATE TABLE zalbum (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    streamid TEXT UNIQUE,
    datecreated REAL NOT NULL,
    cachedcount INTEGER NOT NULL DEFAULT 0
);
INSERT INTO "zalbum" VALUES(1,'74746B4D-37D8-449F-A452-A97D0B90F73E','Dunes',NULL,8.17435876943794727331e+08,2);
CREATE TABLE zalbumasset (
    album INTEGER NOT NULL REFERENCES zalbum (pk) ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    dateadded REAL NOT NULL, shown REAL NOT NULL DEFAULT 0,
    PRIMARY KEY (album, asset)
) WITHOUT ROWID;
INSERT INTO "zalbumasset" VALUES(1,2,8.17435876968310356181e+08,645445230.0);
INSERT INTO "zalbumasset" VALUES(1,3,817435876.969949,817431880.911289);
CREATE TABLE "zbulletin" (
    recordid INTEGER PRIMARY KEY AUTOINCREMENT,
    type INTEGER NOT NULL DEFAULT 0,
    originalrecordid INTEGER NOT NULL,
    originaldate REAL NOT NULL,
    date REAL NOT NULL,
    album INTEGER REFERENCES zalbum (pk) ON DELETE CASCADE,
    asset INTEGER REFERENCES zgenericasset (pk) ON DELETE SET NULL,
    photos INTEGER NOT NULL,
    videos INTEGER NOT NULL,
    sender TEXT NOT NULL
);
CREATE TABLE zchange (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    date REAL NOT NULL DEFAULT ((julianday('now') - 2451910.5) * 86400),
    what INTEGER NOT NULL,
    assetuuid TEXT NOT NULL
);
INSERT INTO "zchange" VALUES(1,8.174358767579823732e+08,0,'EE5BF587-46E1-4477-B0A4-8B52BB9AE586');
INSERT INTO "zchange" VALUES(2,817435876.759994,0,'47991FB4-73E3-4183-B176-32A1F60A36D0');
INSERT INTO "zchange" VALUES(3,817435876.759994,0,'1EE263E4-2632-4D8A-9217-8A14C425F7F6');
INSERT INTO "zchange" VALUES(4,8.17435876860013604146e+08,0,'70989E83-EC7E-44B2-BBD7-638F84873076');
INSERT INTO "zchange" VALUES(5,8.17435876977011561389e+08,1,'47991FB4-73E3-4183-B176-32A1F60A36D0');
INSERT INTO "zchange" VALUES(6,8.17435877034987449629e+08,2,'70989E83-EC7E-44B2-BBD7-638F84873076');
INSERT INTO "zchange" VALUES(7,8.17435877310986757238e+08,1,'EE5BF587-46E1-4477-B0A4-8B52BB9AE586');
CREATE TABLE zcloudfeedasset (
    entry INTEGER NOT NULL REFERENCES zcloudfeedentry (pk) ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    PRIMARY KEY (entry, asset)
) WITHOUT ROWID;
CREATE TABLE zcloudfeedentry (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    album INTEGER NOT NULL REFERENCES zalbum (pk) ON DELETE CASCADE,
    startdate REAL NOT NULL,
    enddate REAL NOT NULL
);
CREATE TABLE zcompanion (
    assetuuid TEXT PRIMARY KEY REFERENCES zgenericasset (uuid) ON DELETE CASCADE,
    filename TEXT NOT NULL,
    originalfilename TEXT NOT NULL,
    format TEXT NOT NULL,
    bytesize INTEGER NOT NULL,
    sha256 BLOB NOT NULL CHECK (length(sha256) = 32)
);
CREATE TABLE zcompanionscrub (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date REAL NOT NULL,
    modified INTEGER,
    fault INTEGER NOT NULL DEFAULT 0,
    detail TEXT NOT NULL DEFAULT ''
);
CREATE TABLE zcount (
    kind INTEGER PRIMARY KEY,
    number INTEGER NOT NULL
, bytes INTEGER NOT NULL DEFAULT 0);
INSERT INTO "zcount" VALUES(0,3,2944);
INSERT INTO "zcount" VALUES(1,0,0);
CREATE TABLE zduefacts (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date INTEGER NOT NULL
);
CREATE TABLE zduefingerprint (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE
);
CREATE TABLE zduethumbnail (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE
, made INTEGER NOT NULL DEFAULT 0);
CREATE TABLE zduplicate (
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    likeness INTEGER NOT NULL CHECK (likeness IN (0, 1)),
    duplicategroup INTEGER NOT NULL,
    PRIMARY KEY (asset, likeness)
) WITHOUT ROWID;
CREATE TABLE zduplicatestate (
    changed INTEGER NOT NULL,
    grouped INTEGER NOT NULL
);
INSERT INTO "zduplicatestate" VALUES(3,3);
CREATE TABLE zemail (
    key INTEGER PRIMARY KEY AUTOINCREMENT,
    address TEXT NOT NULL UNIQUE COLLATE NOCASE
, dateadded REAL NOT NULL DEFAULT 0);
CREATE TABLE zfingerprint (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    thumbnailindex INTEGER NOT NULL,
    difference INTEGER,
    frequency INTEGER
);
INSERT INTO "zfingerprint" VALUES(1,2,-6461053420812220966,216313691786747946);
INSERT INTO "zfingerprint" VALUES(2,1,6461053420812220965,-9211828262124641534);
INSERT INTO "zfingerprint" VALUES(3,1,NULL,NULL);
CREATE TABLE zgenericasset (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid TEXT NOT NULL UNIQUE,
    kind INTEGER NOT NULL CHECK (kind IN (0, 1)),
    directory TEXT NOT NULL,
    filename TEXT NOT NULL,
    originalfilename TEXT NOT NULL,
    format TEXT NOT NULL,
    width INTEGER NOT NULL,
    height INTEGER NOT NULL,
    orientation INTEGER NOT NULL,
    datecreated REAL NOT NULL,
    dateadded REAL NOT NULL,
    latitude REAL,
    longitude REAL,
    bytesize INTEGER NOT NULL,
    sha256 BLOB NOT NULL CHECK (length(sha256) = 32),
    thumbnailindex INTEGER NOT NULL,
    problem TEXT NOT NULL
, duration REAL NOT NULL DEFAULT 0, externalusageintent INTEGER NOT NULL DEFAULT 0, previewpurged INTEGER NOT NULL DEFAULT 0, clockdate REAL, zoneminutes INTEGER, previewkeptuntil REAL NOT NULL DEFAULT 0, derivedbytes INTEGER, camera TEXT NOT NULL DEFAULT '', lens TEXT NOT NULL DEFAULT '', exposureseconds REAL, aperture REAL, isospeed INTEGER, focallength REAL, favourite INTEGER NOT NULL DEFAULT 0, hidden INTEGER NOT NULL DEFAULT 0, rating INTEGER NOT NULL DEFAULT 0, caption TEXT NOT NULL DEFAULT '', keywords TEXT NOT NULL DEFAULT '', duedetails INTEGER NOT NULL DEFAULT 15, edited INTEGER NOT NULL DEFAULT 0);
INSERT INTO "zgenericasset" VALUES(1,'EE5BF587-46E1-4477-B0A4-8B52BB9AE586',0,'DCIM/EE','EE5BF587-46E1-4477-B0A4-8B52BB9AE586.JPG','described.jpg','image/jpeg',16,24,6,645438030.0,8.17435876745847225192e+08,48.5,9.0,1508,X'B4B63528DA0E58598EA07C15DBCDE442AB2E82015780C3B34A543951FD8873E5',2,'',0.0,0,0,645445230.0,120,0.0,2017,'Maker','',NULL,NULL,NULL,NULL,0,0,4,'At sea','Sea
Sky
Café',0,1);
INSERT INTO "zgenericasset" VALUES(2,'47991FB4-73E3-4183-B176-32A1F60A36D0',0,'DCIM/47','47991FB4-73E3-4183-B176-32A1F60A36D0.JPG','exif.jpg','image/jpeg',16,24,6,645438030.0,817435876.739161,48.5,9.0,959,X'178B01240841E9974FDE349E6939568C4BDF68DC3E5F39C7FB8A54C81F8AB35E',1,'',0.0,0,0,645445230.0,120,0.0,1434,'Maker','',NULL,NULL,NULL,NULL,0,0,4,'At noon','',0,0);
INSERT INTO "zgenericasset" VALUES(3,'1EE263E4-2632-4D8A-9217-8A14C425F7F6',0,'DCIM/1E','1EE263E4-2632-4D8A-9217-8A14C425F7F6.GIF','one.gif','image/gif',8,8,1,817431880.911289,8.17435876747619628943e+08,NULL,NULL,477,X'7459DC30AFE74140F9E77A5909DC7B2F5E835E8E825FC290B9E28362A9CDAD4E',1,'',0.0,0,0,817431880.911289,0,0.0,1226,'','',NULL,NULL,NULL,NULL,0,0,0,'','',0,0);
CREATE TABLE zlibrary (
    uuid TEXT NOT NULL
);
INSERT INTO "zlibrary" VALUES('788990F1-B24C-4F28-9D29-50C24642A479');
CREATE TABLE zmoment (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    list INTEGER REFERENCES zmomentlist (pk) ON DELETE SET NULL,
    startdate REAL NOT NULL,
    enddate REAL NOT NULL,
    assetcount INTEGER NOT NULL,
    photocount INTEGER NOT NULL DEFAULT 0,
    videocount INTEGER NOT NULL DEFAULT 0,
    latitude REAL,
    longitude REAL,
    keyasset INTEGER,
    analyzed INTEGER NOT NULL DEFAULT 0
);
INSERT INTO "zmoment" VALUES(1,1,645445230.0,645445230.0,2,2,0,48.5,9.0,1,1);
INSERT INTO "zmoment" VALUES(2,2,817431880.911289,817431880.911289,1,1,0,NULL,NULL,3,1);
CREATE TABLE zmomentasset (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    moment INTEGER NOT NULL REFERENCES zmoment (pk)
);
INSERT INTO "zmomentasset" VALUES(1,1);
INSERT INTO "zmomentasset" VALUES(2,1);
INSERT INTO "zmomentasset" VALUES(3,2);
CREATE TABLE zmomentchange (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    date REAL NOT NULL,
    moment INTEGER
);
CREATE TABLE zmomentlist (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    startdate REAL NOT NULL,
    enddate REAL NOT NULL,
    momentcount INTEGER NOT NULL,
    assetcount INTEGER NOT NULL,
    keyasset INTEGER,
    analyzed INTEGER NOT NULL DEFAULT 0
);
INSERT INTO "zmomentlist" VALUES(1,645445230.0,645445230.0,1,2,1,1);
INSERT INTO "zmomentlist" VALUES(2,817431880.911289,817431880.911289,1,1,3,1);
CREATE TABLE znotduplicate (
    one INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    other INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    PRIMARY KEY (one, other),
    CHECK (one < other)
) WITHOUT ROWID;
CREATE TABLE zperson (
    personid TEXT PRIMARY KEY,
    info BLOB NOT NULL
, dateadded REAL NOT NULL DEFAULT 0);
CREATE TABLE zrendition (
    assetuuid TEXT PRIMARY KEY REFERENCES zgenericasset (uuid) ON DELETE CASCADE,
    filename TEXT NOT NULL,
    sha256 BLOB NOT NULL,
    dateadded REAL NOT NULL,
    properties BLOB NOT NULL
);
INSERT INTO "zrendition" VALUES('EE5BF587-46E1-4477-B0A4-8B52BB9AE586','EE5BF587-46E1-4477-B0A4-8B52BB9AE586-31bb057cc1cb7687.JPG',X'31BB057CC1CB7687AE177AA2BAEF394AE490FAF875913EFD71E16EE971BE0FF6',8.17435877294383287424e+08,X'');
CREATE TABLE zscrub (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date REAL NOT NULL,
    modified INTEGER,
    fault INTEGER NOT NULL DEFAULT 0,
    detail TEXT NOT NULL DEFAULT ''
, bulletin INTEGER);
CREATE TABLE zsize (
    what TEXT PRIMARY KEY,
    bytes INTEGER NOT NULL
);
INSERT INTO "zsize" VALUES('derived',4677);
INSERT INTO "zsize" VALUES('companions',0);
INSERT INTO "zsize" VALUES('trash',1521);
CREATE TABLE zstate (
    name TEXT PRIMARY KEY,
    value INTEGER NOT NULL
);
CREATE TABLE ztermination (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    date REAL NOT NULL,
    executable TEXT NOT NULL,
    process INTEGER NOT NULL,
    name TEXT NOT NULL,
    reason TEXT NOT NULL
);
CREATE TABLE ztrashedalbumasset(
  album INT,
  asset INT,
  dateadded REAL
, shown REAL DEFAULT 0);
CREATE TABLE ztrashedasset(
  pk INT,
  uuid TEXT,
  kind INT,
  directory TEXT,
  filename TEXT,
  originalfilename TEXT,
  format TEXT,
  width INT,
  height INT,
  orientation INT,
  datecreated REAL,
  dateadded REAL,
  latitude REAL,
  longitude REAL,
  bytesize INT,
  sha256,
  thumbnailindex INT,
  problem TEXT,
  duration REAL,
  externalusageintent INT,
  previewpurged INT,
  clockdate REAL,
  zoneminutes INT,
  previewkeptuntil REAL
, datetrashed REAL NOT NULL DEFAULT 0, derivedbytes INTEGER, camera TEXT DEFAULT '', lens TEXT DEFAULT '', exposureseconds REAL, aperture REAL, isospeed INTEGER, focallength REAL, favourite INTEGER DEFAULT 0, hidden INTEGER DEFAULT 0, rating INTEGER DEFAULT 0, caption TEXT DEFAULT '', keywords TEXT DEFAULT '', duedetails INTEGER DEFAULT 15, edited INTEGER DEFAULT 0);
INSERT INTO "ztrashedasset" VALUES(4,'70989E83-EC7E-44B2-BBD7-638F84873076',0,'DCIM/70','70989E83-EC7E-44B2-BBD7-638F84873076.PNG','alpha.png','image/png',12,8,1,817431880.910502,8.17435876830068111446e+08,NULL,NULL,113,X'8A5094AEE6F323822C844ACDA46141B9691A22D1FF67AE4482D718B448FEA8C4',1,'',0.0,0,0,817431880.910502,0,0.0,8.17435877033551454556e+08,1408,'','',NULL,NULL,NULL,NULL,0,0,0,'','',0,0);
CREATE TABLE ztrashedcompanion(
  assetuuid TEXT,
  filename TEXT,
  originalfilename TEXT,
  format TEXT,
  bytesize INT,
  sha256
);
CREATE TABLE ztrashedcompanionscrub(
  asset INT,
  date REAL,
  modified INT,
  fault INT,
  detail TEXT
);
CREATE TABLE ztrashedduefacts(asset INT,date INT);
CREATE TABLE ztrashedduethumbnail(asset INT, made INTEGER DEFAULT 0);
INSERT INTO "ztrashedduethumbnail" VALUES(4,1);
CREATE TABLE ztrashednotduplicate(one INT,other INT);
CREATE TABLE ztrashedrendition(
  assetuuid TEXT,
  filename TEXT,
  sha256,
  dateadded REAL,
  properties
);
CREATE TABLE ztrashedscrub(
  asset INT,
  date REAL,
  modified INT,
  fault INT,
  detail TEXT
, bulletin INTEGER);
CREATE TABLE ztrashedundecodable(asset INT,decoders TEXT);
CREATE TABLE zundecodable (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    decoders TEXT NOT NULL
);
CREATE INDEX zgenericasset_sha256 ON zgenericasset (sha256);
CREATE TRIGGER zgenericasset_added AFTER INSERT ON zgenericasset BEGIN
    UPDATE zcount SET number = number + 1 WHERE kind = new.kind;
END;
CREATE TRIGGER zgenericasset_deleted AFTER DELETE ON zgenericasset BEGIN
    UPDATE zcount SET number = number - 1 WHERE kind = old.kind;
END;
CREATE TRIGGER zgenericasset_kindchanged AFTER UPDATE OF kind ON zgenericasset BEGIN
    UPDATE zcount SET number = number - 1 WHERE kind = old.kind;
    UPDATE zcount SET number = number + 1 WHERE kind = new.kind;
END;
CREATE INDEX zmoment_startdate ON zmoment (startdate);
CREATE INDEX zmoment_list ON zmoment (list);
CREATE INDEX zmomentasset_moment ON zmomentasset (moment);
CREATE INDEX zduplicate_group ON zduplicate (likeness, duplicategroup);
CREATE INDEX znotduplicate_other ON znotduplicate (other);
CREATE TRIGGER zgenericasset_duplicate_delete BEFORE DELETE ON zgenericasset
WHEN EXISTS (SELECT 1 FROM zduplicate WHERE asset = old.pk)
    OR EXISTS (SELECT 1 FROM znotduplicate WHERE one = old.pk OR other = old.pk) BEGIN
    UPDATE zduplicatestate SET changed = changed + 1;
END;
CREATE TRIGGER zgenericasset_duplicate_update AFTER UPDATE OF datecreated ON zgenericasset
WHEN old.datecreated IS NOT new.datecreated BEGIN
    UPDATE zduplicatestate SET changed = changed + 1;
END;
CREATE INDEX zalbumasset_asset ON zalbumasset (asset);
CREATE TRIGGER zalbumasset_insert AFTER INSERT ON zalbumasset BEGIN
    UPDATE zalbum SET cachedcount = cachedcount + 1 WHERE pk = new.album;
END;
CREATE TRIGGER zalbumasset_delete AFTER DELETE ON zalbumasset BEGIN
    UPDATE zalbum SET cachedcount = cachedcount - 1 WHERE pk = old.album;
END;
CREATE TRIGGER zgenericasset_size_insert AFTER INSERT ON zgenericasset BEGIN
    UPDATE zcount SET bytes = bytes + new.bytesize WHERE kind = new.kind;
END;
CREATE TRIGGER zgenericasset_size_delete AFTER DELETE ON zgenericasset BEGIN
    UPDATE zcount SET bytes = bytes - old.bytesize WHERE kind = old.kind;
END;
CREATE TRIGGER zgenericasset_size_update AFTER UPDATE OF kind, bytesize ON zgenericasset BEGIN
    UPDATE zcount SET bytes = bytes - old.bytesize WHERE kind = old.kind;
    UPDATE zcount SET bytes = bytes + new.bytesize WHERE kind = new.kind;
END;
CREATE TRIGGER zgenericasset_change_insert AFTER INSERT ON zgenericasset BEGIN
    INSERT INTO zchange (what, assetuuid) VALUES (0, new.uuid);
END;
CREATE TRIGGER zgenericasset_change_update
AFTER UPDATE OF datecreated, latitude, longitude, thumbnailindex ON zgenericasset BEGIN
    INSERT INTO zchange (what, assetuuid) VALUES (1, new.uuid);
END;
CREATE TRIGGER zgenericasset_change_delete AFTER DELETE ON zgenericasset BEGIN
    INSERT INTO zchange (what, assetuuid) VALUES (2, old.uuid);
END;
CREATE TRIGGER zchange_limit AFTER INSERT ON zchange BEGIN
    DELETE FROM zchange WHERE pk <= new.pk - 10000;
END;
CREATE TRIGGER ztermination_limit AFTER INSERT ON ztermination BEGIN
    DELETE FROM ztermination WHERE pk <= new.pk - 100;
END;
CREATE INDEX zcloudfeedentry_album ON zcloudfeedentry (album);
CREATE INDEX zcloudfeedasset_asset ON zcloudfeedasset (asset);
CREATE INDEX zgenericasset_shown ON zgenericasset (coalesce(clockdate, datecreated));
CREATE TRIGGER zgenericasset_moment_insert AFTER INSERT ON zgenericasset BEGIN
    INSERT INTO zmomentchange (date) VALUES (coalesce(new.clockdate, new.datecreated));
END;
CREATE TRIGGER zgenericasset_moment_delete BEFORE DELETE ON zgenericasset BEGIN
    INSERT INTO zmomentchange (date, moment)
        VALUES (coalesce(old.clockdate, old.datecreated), (SELECT moment FROM zmomentasset WHERE asset = old.pk));
END;
CREATE TRIGGER zgenericasset_moment_update
AFTER UPDATE OF datecreated, clockdate, latitude, longitude ON zgenericasset
WHEN coalesce(old.clockdate, old.datecreated) IS NOT coalesce(new.clockdate, new.datecreated)
    OR old.latitude IS NOT new.latitude OR old.longitude IS NOT new.longitude BEGIN
    INSERT INTO zmomentchange (date, moment)
        VALUES (coalesce(old.clockdate, old.datecreated), (SELECT moment FROM zmomentasset WHERE asset = old.pk)),
               (coalesce(new.clockdate, new.datecreated), NULL);
END;
CREATE TRIGGER zalbumasset_feed_insert AFTER INSERT ON zalbumasset
WHEN EXISTS (SELECT 1 FROM zalbum WHERE pk = new.album AND streamid IS NOT NULL) BEGIN
    INSERT INTO zcloudfeedentry (album, startdate, enddate) SELECT new.album, new.dateadded, new.dateadded
        WHERE NOT EXISTS (SELECT 1 FROM zcloudfeedentry WHERE album = new.album
                          AND new.dateadded BETWEEN startdate - 3600 AND enddate + 3600);
    INSERT INTO zcloudfeedasset SELECT max(pk), new.asset FROM zcloudfeedentry
        WHERE album = new.album AND new.dateadded BETWEEN startdate - 3600 AND enddate + 3600;
    UPDATE zcloudfeedentry
        SET startdate = min(startdate, new.dateadded), enddate = max(enddate, new.dateadded)
        WHERE pk = (SELECT entry FROM zcloudfeedasset JOIN zcloudfeedentry ON pk = entry
                    WHERE asset = new.asset AND album = new.album);
END;
CREATE UNIQUE INDEX ztrashedasset_pk ON ztrashedasset (pk);
CREATE UNIQUE INDEX ztrashedasset_uuid ON ztrashedasset (uuid);
CREATE INDEX ztrashedasset_sha256 ON ztrashedasset (sha256);
CREATE INDEX ztrashedasset_datetrashed ON ztrashedasset (datetrashed);
CREATE INDEX ztrashedrendition_assetuuid ON ztrashedrendition (assetuuid);
CREATE INDEX ztrashedalbumasset_asset ON ztrashedalbumasset (asset);
CREATE INDEX zscrub_fault ON zscrub (fault) WHERE fault <> 0;
CREATE INDEX zbulletin_album ON zbulletin (album);
CREATE INDEX zbulletin_asset ON zbulletin (asset);
CREATE INDEX zcompanion_sha256 ON zcompanion (sha256);
CREATE INDEX ztrashedcompanion_assetuuid ON ztrashedcompanion (assetuuid);
CREATE INDEX ztrashedcompanion_sha256 ON ztrashedcompanion (sha256);
CREATE TRIGGER zalbumasset_feed_delete AFTER DELETE ON zalbumasset BEGIN
    DELETE FROM zcloudfeedasset
        WHERE asset = old.asset AND entry IN (SELECT pk FROM zcloudfeedentry WHERE album = old.album);
    DELETE FROM zcloudfeedentry
        WHERE album = old.album AND NOT EXISTS (SELECT 1 FROM zcloudfeedasset WHERE entry = pk);
    UPDATE zcloudfeedentry SET (startdate, enddate) =
        (SELECT coalesce(min(dateadded), startdate), coalesce(max(dateadded), enddate)
         FROM zcloudfeedasset JOIN zalbumasset ON zalbumasset.asset = zcloudfeedasset.asset
         WHERE entry = zcloudfeedentry.pk AND zalbumasset.album = zcloudfeedentry.album)
        WHERE album = old.album AND old.dateadded IN (startdate, enddate);
END;
CREATE INDEX zgenericasset_noclock ON zgenericasset (pk) WHERE clockdate IS NULL;
CREATE INDEX zgenericasset_unmeasured ON zgenericasset (pk) WHERE coalesce(derivedbytes, -1) < 0;
CREATE INDEX ztrashedasset_unmeasured ON ztrashedasset (pk) WHERE coalesce(derivedbytes, -1) < 0;
CREATE TRIGGER zgenericasset_derived_insert AFTER INSERT ON zgenericasset WHEN new.derivedbytes > 0 BEGIN
    UPDATE zsize SET bytes = bytes + new.derivedbytes WHERE what = 'derived';
END;
CREATE TRIGGER zgenericasset_derived_delete AFTER DELETE ON zgenericasset WHEN old.derivedbytes > 0 BEGIN
    UPDATE zsize SET bytes = bytes - old.derivedbytes WHERE what = 'derived';
END;
CREATE TRIGGER zgenericasset_derived_update AFTER UPDATE OF derivedbytes ON zgenericasset BEGIN
    UPDATE zsize SET bytes = bytes + max(coalesce(new.derivedbytes, 0), 0) - max(coalesce(old.derivedbytes, 0), 0)
        WHERE what = 'derived';
END;
CREATE TRIGGER zcompanion_size_insert AFTER INSERT ON zcompanion BEGIN
    UPDATE zsize SET bytes = bytes + new.bytesize WHERE what = 'companions';
END;
CREATE TRIGGER zcompanion_size_delete AFTER DELETE ON zcompanion BEGIN
    UPDATE zsize SET bytes = bytes - old.bytesize WHERE what = 'companions';
END;
CREATE TRIGGER zcompanion_size_update AFTER UPDATE OF bytesize ON zcompanion BEGIN
    UPDATE zsize SET bytes = bytes + new.bytesize - old.bytesize WHERE what = 'companions';
END;
CREATE TRIGGER ztrashedasset_size_insert AFTER INSERT ON ztrashedasset BEGIN
    UPDATE zsize SET bytes = bytes + coalesce(new.bytesize, 0) + max(coalesce(new.derivedbytes, 0), 0) WHERE what = 'trash';
END;
CREATE TRIGGER ztrashedasset_size_delete AFTER DELETE ON ztrashedasset BEGIN
    UPDATE zsize SET bytes = bytes - coalesce(old.bytesize, 0) - max(coalesce(old.derivedbytes, 0), 0) WHERE what = 'trash';
END;
CREATE TRIGGER ztrashedasset_size_update AFTER UPDATE OF bytesize, derivedbytes ON ztrashedasset BEGIN
    UPDATE zsize SET bytes = bytes + coalesce(new.bytesize, 0) + max(coalesce(new.derivedbytes, 0), 0)
                                   - coalesce(old.bytesize, 0) - max(coalesce(old.derivedbytes, 0), 0) WHERE what = 'trash';
END;
CREATE TRIGGER ztrashedcompanion_size_insert AFTER INSERT ON ztrashedcompanion BEGIN
    UPDATE zsize SET bytes = bytes + coalesce(new.bytesize, 0) WHERE what = 'trash';
END;
CREATE TRIGGER ztrashedcompanion_size_delete AFTER DELETE ON ztrashedcompanion BEGIN
    UPDATE zsize SET bytes = bytes - coalesce(old.bytesize, 0) WHERE what = 'trash';
END;
CREATE TRIGGER ztrashedcompanion_size_update AFTER UPDATE OF bytesize ON ztrashedcompanion BEGIN
    UPDATE zsize SET bytes = bytes + coalesce(new.bytesize, 0) - coalesce(old.bytesize, 0) WHERE what = 'trash';
END;
CREATE TRIGGER zduethumbnail_derived_insert AFTER INSERT ON zduethumbnail WHEN new.made = 0 BEGIN
    UPDATE zgenericasset SET derivedbytes = NULL WHERE pk = new.asset AND derivedbytes IS NOT NULL;
END;
CREATE INDEX zscrub_bulletin ON zscrub (bulletin) WHERE bulletin IS NOT NULL;
CREATE TRIGGER zgenericasset_lost_delete BEFORE DELETE ON zgenericasset
WHEN EXISTS (SELECT 1 FROM zscrub WHERE asset = old.pk AND bulletin IS NOT NULL) BEGIN
    UPDATE zbulletin SET
        photos = photos - (old.kind = 0),
        videos = videos - (old.kind = 1),
        asset = CASE WHEN asset IS NOT old.pk THEN asset ELSE
            (SELECT other.asset FROM zscrub AS other
             WHERE other.bulletin = zbulletin.originalrecordid AND other.asset <> old.pk
             ORDER BY other.date DESC LIMIT 1) END
    WHERE type = 1 AND originalrecordid = (SELECT bulletin FROM zscrub WHERE asset = old.pk);
END;
CREATE TRIGGER zgenericasset_bulletin_delete BEFORE DELETE ON zgenericasset
WHEN EXISTS (SELECT 1 FROM zalbumasset WHERE asset = old.pk) BEGIN
    UPDATE zbulletin SET
        photos = photos - (old.kind = 0),
        videos = videos - (old.kind = 1),
        asset = CASE WHEN asset IS NOT old.pk THEN asset ELSE
            (SELECT other.asset FROM zalbumasset AS other
             WHERE other.album = zbulletin.album AND other.asset <> old.pk
                 AND other.dateadded BETWEEN zbulletin.originaldate AND zbulletin.date
             ORDER BY other.dateadded DESC LIMIT 1) END
    WHERE EXISTS (SELECT 1 FROM zalbumasset AS added
                  WHERE added.album = zbulletin.album AND added.asset = old.pk
                      AND added.dateadded BETWEEN zbulletin.originaldate AND zbulletin.date);
END;
CREATE INDEX zcompanionscrub_fault ON zcompanionscrub (fault) WHERE fault <> 0;
CREATE INDEX zmoment_unanalyzed ON zmoment (list) WHERE analyzed = 0;
CREATE INDEX zmomentlist_unanalyzed ON zmomentlist (pk) WHERE analyzed = 0;
CREATE TRIGGER zgenericasset_fingerprint_insert AFTER INSERT ON zgenericasset BEGIN
    INSERT INTO zduefingerprint VALUES (new.pk);
END;
CREATE TRIGGER zgenericasset_fingerprint_update AFTER UPDATE OF thumbnailindex ON zgenericasset
WHEN old.thumbnailindex IS NOT new.thumbnailindex
    AND NOT EXISTS (SELECT 1 FROM zduefingerprint WHERE asset = new.pk) BEGIN
    INSERT INTO zduefingerprint VALUES (new.pk);
END;
CREATE TRIGGER zfingerprint_insert AFTER INSERT ON zfingerprint BEGIN
    DELETE FROM zduefingerprint WHERE asset = new.asset
        AND new.thumbnailindex = (SELECT thumbnailindex FROM zgenericasset WHERE pk = new.asset);
END;
CREATE TRIGGER zfingerprint_delete AFTER DELETE ON zfingerprint BEGIN
    INSERT INTO zduefingerprint SELECT pk FROM zgenericasset
        WHERE pk = old.asset AND NOT EXISTS (SELECT 1 FROM zduefingerprint WHERE asset = old.asset);
END;
CREATE INDEX zgenericasset_duedetails ON zgenericasset (pk) WHERE duedetails <> 0;
CREATE TRIGGER zgenericasset_details_update
AFTER UPDATE OF favourite, hidden, rating, caption, keywords ON zgenericasset
WHEN old.favourite IS NOT new.favourite OR old.hidden IS NOT new.hidden OR old.rating IS NOT new.rating
    OR old.caption IS NOT new.caption OR old.keywords IS NOT new.keywords BEGIN
    INSERT INTO zchange (what, assetuuid) VALUES (1, new.uuid);
END;
CREATE INDEX zgenericasset_kind ON zgenericasset (kind, coalesce(clockdate, datecreated));
CREATE INDEX zgenericasset_format ON zgenericasset (format, coalesce(clockdate, datecreated));
CREATE INDEX zgenericasset_added ON zgenericasset (dateadded);
CREATE INDEX zgenericasset_size ON zgenericasset (bytesize);
CREATE INDEX zgenericasset_name ON zgenericasset (originalfilename COLLATE NOCASE);
CREATE INDEX zgenericasset_problem ON zgenericasset (coalesce(clockdate, datecreated)) WHERE problem <> '';
CREATE INDEX zgenericasset_camera ON zgenericasset (camera, coalesce(clockdate, datecreated)) WHERE camera <> '';
CREATE INDEX zgenericasset_favourite ON zgenericasset (coalesce(clockdate, datecreated)) WHERE favourite = 1;
CREATE INDEX zgenericasset_rating ON zgenericasset (coalesce(clockdate, datecreated)) WHERE rating > 0;
CREATE INDEX zgenericasset_hidden ON zgenericasset (coalesce(clockdate, datecreated)) WHERE hidden = 1;
CREATE INDEX zgenericasset_place ON zgenericasset (latitude, longitude) WHERE latitude IS NOT NULL;
CREATE INDEX zgenericasset_edited ON zgenericasset (coalesce(clockdate, datecreated)) WHERE edited = 1;
CREATE TRIGGER zrendition_edited_insert AFTER INSERT ON zrendition BEGIN
    UPDATE zgenericasset SET edited = 1 WHERE uuid = new.assetuuid;
END;
CREATE TRIGGER zrendition_edited_delete AFTER DELETE ON zrendition BEGIN
    UPDATE zgenericasset SET edited = 0 WHERE uuid = old.assetuuid;
END;
CREATE INDEX zalbumasset_shown ON zalbumasset (album, shown, asset);
CREATE TRIGGER zalbumasset_shown_insert AFTER INSERT ON zalbumasset BEGIN
    UPDATE zalbumasset SET shown = (SELECT coalesce(clockdate, datecreated) FROM zgenericasset WHERE pk = new.asset)
        WHERE album = new.album AND asset = new.asset;
END;
CREATE TRIGGER zgenericasset_shown_update AFTER UPDATE OF datecreated, clockdate ON zgenericasset BEGIN
    UPDATE zalbumasset SET shown = coalesce(new.clockdate, new.datecreated) WHERE asset = new.pk;
END;
DELETE FROM "sqlite_sequence";
INSERT INTO "sqlite_sequence" VALUES('zmomentchange',5);
INSERT INTO "sqlite_sequence" VALUES('zcloudfeedentry',0);
INSERT INTO "sqlite_sequence" VALUES('zchange',7);
INSERT INTO "sqlite_sequence" VALUES('zgenericasset',4);
INSERT INTO "sqlite_sequence" VALUES('zalbum',1);
INSERT INTO "sqlite_sequence" VALUES('zmoment',2);
INSERT INTO "sqlite_sequence" VALUES('zmomentlist',2);
COMMIT;
PRAGMA user_version = 26;
