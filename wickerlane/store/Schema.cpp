#include "wickerlane/store/Schema.h"

namespace wickerlane::store {

namespace {

constexpr const char *assets = R"sql(
CREATE TABLE zlibrary (
    uuid TEXT NOT NULL
);
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
);
CREATE INDEX zgenericasset_datecreated ON zgenericasset (datecreated);
CREATE INDEX zgenericasset_kind ON zgenericasset (kind);
)sql";

constexpr const char *renditions = R"sql(
CREATE TABLE zrendition (
    assetuuid TEXT PRIMARY KEY REFERENCES zgenericasset (uuid) ON DELETE CASCADE,
    filename TEXT NOT NULL,
    sha256 BLOB NOT NULL,
    dateadded REAL NOT NULL,
    properties BLOB NOT NULL
);
)sql";

constexpr const char *durations = R"sql(
ALTER TABLE zgenericasset ADD COLUMN duration REAL NOT NULL DEFAULT 0;
)sql";

constexpr const char *sums = R"sql(
CREATE INDEX zgenericasset_sha256 ON zgenericasset (sha256);
)sql";

// Counting the rows themselves would take longer the more there are: 5 ms for 100,000.
constexpr const char *counts = R"sql(
CREATE TABLE zcount (
    kind INTEGER PRIMARY KEY,
    number INTEGER NOT NULL
);
INSERT INTO zcount VALUES (0, (SELECT count(*) FROM zgenericasset WHERE kind = 0)),
                          (1, (SELECT count(*) FROM zgenericasset WHERE kind = 1));
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
)sql";

// What hoardd makes of the assets: moments, lists of them, duplicates. Triggers note what has changed, so
// that an analysis knows where to begin.
constexpr const char *analyses = R"sql(
CREATE TABLE zmomentlist (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    startdate REAL NOT NULL,
    enddate REAL NOT NULL,
    momentcount INTEGER NOT NULL,
    assetcount INTEGER NOT NULL,
    keyasset INTEGER,
    analyzed INTEGER NOT NULL DEFAULT 0
);
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
CREATE INDEX zmoment_startdate ON zmoment (startdate);
CREATE INDEX zmoment_list ON zmoment (list);
CREATE TABLE zmomentasset (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    moment INTEGER NOT NULL REFERENCES zmoment (pk)
);
CREATE INDEX zmomentasset_moment ON zmomentasset (moment);
CREATE TABLE zmomentchange (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    date REAL NOT NULL,
    moment INTEGER
);
INSERT INTO zmomentchange (date) SELECT datecreated FROM zgenericasset;
CREATE TRIGGER zgenericasset_moment_insert AFTER INSERT ON zgenericasset BEGIN
    INSERT INTO zmomentchange (date) VALUES (new.datecreated);
END;
CREATE TRIGGER zgenericasset_moment_delete BEFORE DELETE ON zgenericasset BEGIN
    INSERT INTO zmomentchange (date, moment)
        VALUES (old.datecreated, (SELECT moment FROM zmomentasset WHERE asset = old.pk));
END;
CREATE TRIGGER zgenericasset_moment_update AFTER UPDATE OF datecreated, latitude, longitude ON zgenericasset
WHEN old.datecreated IS NOT new.datecreated OR old.latitude IS NOT new.latitude
    OR old.longitude IS NOT new.longitude BEGIN
    INSERT INTO zmomentchange (date, moment)
        VALUES (old.datecreated, (SELECT moment FROM zmomentasset WHERE asset = old.pk)),
               (new.datecreated, NULL);
END;

CREATE TABLE zfingerprint (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    thumbnailindex INTEGER NOT NULL,
    difference INTEGER,
    frequency INTEGER
);
CREATE TABLE zduplicate (
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    likeness INTEGER NOT NULL CHECK (likeness IN (0, 1)),
    duplicategroup INTEGER NOT NULL,
    PRIMARY KEY (asset, likeness)
) WITHOUT ROWID;
CREATE INDEX zduplicate_group ON zduplicate (likeness, duplicategroup);
CREATE TABLE znotduplicate (
    one INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    other INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    PRIMARY KEY (one, other),
    CHECK (one < other)
) WITHOUT ROWID;
CREATE INDEX znotduplicate_other ON znotduplicate (other);
CREATE TABLE zduplicatestate (
    changed INTEGER NOT NULL,
    grouped INTEGER NOT NULL
);
INSERT INTO zduplicatestate VALUES (1, 0);
CREATE TRIGGER zgenericasset_duplicate_delete BEFORE DELETE ON zgenericasset
WHEN EXISTS (SELECT 1 FROM zduplicate WHERE asset = old.pk)
    OR EXISTS (SELECT 1 FROM znotduplicate WHERE one = old.pk OR other = old.pk) BEGIN
    UPDATE zduplicatestate SET changed = changed + 1;
END;
CREATE TRIGGER zgenericasset_duplicate_update AFTER UPDATE OF datecreated ON zgenericasset
WHEN old.datecreated IS NOT new.datecreated BEGIN
    UPDATE zduplicatestate SET changed = changed + 1;
END;
)sql";

// Albums, and what the library knows of itself. Triggers keep the numbers and note the latest changes.
constexpr const char *albums = R"sql(
CREATE TABLE zalbum (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    uuid TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    streamid TEXT UNIQUE,
    datecreated REAL NOT NULL,
    cachedcount INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE zalbumasset (
    album INTEGER NOT NULL REFERENCES zalbum (pk) ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    dateadded REAL NOT NULL,
    PRIMARY KEY (album, asset)
) WITHOUT ROWID;
CREATE INDEX zalbumasset_asset ON zalbumasset (asset);
CREATE TRIGGER zalbumasset_insert AFTER INSERT ON zalbumasset BEGIN
    UPDATE zalbum SET cachedcount = cachedcount + 1 WHERE pk = new.album;
END;
CREATE TRIGGER zalbumasset_delete AFTER DELETE ON zalbumasset BEGIN
    UPDATE zalbum SET cachedcount = cachedcount - 1 WHERE pk = old.album;
END;

ALTER TABLE zgenericasset ADD COLUMN externalusageintent INTEGER NOT NULL DEFAULT 0;

ALTER TABLE zcount ADD COLUMN bytes INTEGER NOT NULL DEFAULT 0;
UPDATE zcount SET bytes = (SELECT coalesce(sum(bytesize), 0) FROM zgenericasset WHERE zgenericasset.kind = zcount.kind);
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

CREATE TABLE zchange (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    date REAL NOT NULL DEFAULT ((julianday('now') - 2451910.5) * 86400),
    what INTEGER NOT NULL,
    assetuuid TEXT NOT NULL
);
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
CREATE TRIGGER ztermination_limit AFTER INSERT ON ztermination BEGIN
    DELETE FROM ztermination WHERE pk <= new.pk - 100;
END;
)sql";

// What is shared: streams, the bulletin board, people.
constexpr const char *sharing = R"sql(
ALTER TABLE zgenericasset ADD COLUMN previewpurged INTEGER NOT NULL DEFAULT 0;
CREATE TABLE zstream (
    streamid TEXT PRIMARY KEY,
    dateenabled REAL NOT NULL
);
CREATE TABLE zbulletin (
    recordid INTEGER PRIMARY KEY AUTOINCREMENT,
    originalrecordid INTEGER NOT NULL,
    originaldate REAL NOT NULL,
    date REAL NOT NULL,
    album INTEGER NOT NULL REFERENCES zalbum (pk) ON DELETE CASCADE,
    asset INTEGER REFERENCES zgenericasset (pk) ON DELETE SET NULL,
    photos INTEGER NOT NULL,
    videos INTEGER NOT NULL,
    sender TEXT NOT NULL
);
CREATE INDEX zbulletin_album ON zbulletin (album);
CREATE INDEX zbulletin_asset ON zbulletin (asset);
CREATE TABLE zemail (
    key INTEGER PRIMARY KEY AUTOINCREMENT,
    address TEXT NOT NULL UNIQUE COLLATE NOCASE
);
CREATE TABLE zperson (
    personid TEXT PRIMARY KEY,
    info BLOB NOT NULL
);
)sql";

// What came into the shared albums, gathered in entries.
constexpr const char *feed = R"sql(
CREATE TABLE zcloudfeedentry (
    pk INTEGER PRIMARY KEY AUTOINCREMENT,
    album INTEGER NOT NULL REFERENCES zalbum (pk) ON DELETE CASCADE,
    startdate REAL NOT NULL,
    enddate REAL NOT NULL
);
CREATE INDEX zcloudfeedentry_album ON zcloudfeedentry (album);
CREATE TABLE zcloudfeedasset (
    entry INTEGER NOT NULL REFERENCES zcloudfeedentry (pk) ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    PRIMARY KEY (entry, asset)
) WITHOUT ROWID;
CREATE INDEX zcloudfeedasset_asset ON zcloudfeedasset (asset);
)sql";

// Assets whose thumbnails are due: they have none, or those of a preview, or of what they showed before. The
// row goes when they have been made.
constexpr const char *dueThumbnails = R"sql(
CREATE TABLE zduethumbnail (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE
);
)sql";

// What the camera's clock showed, which is what people read, beside the instant. Assets that were saved
// before have only the latter, which then counts as shown.
constexpr const char *clocks = R"sql(
ALTER TABLE zgenericasset ADD COLUMN clockdate REAL;
ALTER TABLE zgenericasset ADD COLUMN zoneminutes INTEGER;
DROP INDEX zgenericasset_datecreated;
CREATE INDEX zgenericasset_shown ON zgenericasset (coalesce(clockdate, datecreated));
DROP TRIGGER zgenericasset_moment_insert;
DROP TRIGGER zgenericasset_moment_delete;
DROP TRIGGER zgenericasset_moment_update;
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
)sql";

// zundecodable: what refused the pictures of assets with a problem, so that another decoder tries again.
// zduefacts: assets of which nothing has been read yet, since no media worker could be had; whether their
// date is to be read as well.
constexpr const char *decoders = R"sql(
CREATE TABLE zundecodable (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    decoders TEXT NOT NULL
);
CREATE TABLE zduefacts (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date INTEGER NOT NULL
);
)sql";

// The feed follows the shared albums; an hour's pause begins a new entry. What is there already is added
// again, so that it comes into the feed. Streams are known by their albums alone.
constexpr const char *currentFeed = R"sql(
DROP TABLE zstream;
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
CREATE TRIGGER zalbumasset_feed_delete AFTER DELETE ON zalbumasset BEGIN
    DELETE FROM zcloudfeedasset
        WHERE asset = old.asset AND entry IN (SELECT pk FROM zcloudfeedentry WHERE album = old.album);
    DELETE FROM zcloudfeedentry
        WHERE album = old.album AND NOT EXISTS (SELECT 1 FROM zcloudfeedasset WHERE entry = pk);
END;
DELETE FROM zcloudfeedentry;
CREATE TABLE zkeptalbumasset AS SELECT * FROM zalbumasset;
DELETE FROM zalbumasset;
INSERT INTO zalbumasset SELECT * FROM zkeptalbumasset ORDER BY dateadded, asset;
DROP TABLE zkeptalbumasset;
)sql";

// When people came, and until when a thumbnail is not given up.
constexpr const char *visits = R"sql(
ALTER TABLE zgenericasset ADD COLUMN previewkeptuntil REAL NOT NULL DEFAULT 0;
ALTER TABLE zemail ADD COLUMN dateadded REAL NOT NULL DEFAULT 0;
ALTER TABLE zperson ADD COLUMN dateadded REAL NOT NULL DEFAULT 0;
)sql";

// The trash: each of its tables has the columns of another, with what belongs to the assets in it. The
// columns that later steps add to the other table come by themselves, see trashedTables(). A bulletin counts
// what is there.
constexpr const char *trash = R"sql(
CREATE TABLE ztrashedasset AS SELECT * FROM zgenericasset WHERE 0;
ALTER TABLE ztrashedasset ADD COLUMN datetrashed REAL NOT NULL DEFAULT 0;
CREATE UNIQUE INDEX ztrashedasset_pk ON ztrashedasset (pk);
CREATE UNIQUE INDEX ztrashedasset_uuid ON ztrashedasset (uuid);
CREATE INDEX ztrashedasset_sha256 ON ztrashedasset (sha256);
CREATE INDEX ztrashedasset_datetrashed ON ztrashedasset (datetrashed);
CREATE TABLE ztrashedrendition AS SELECT * FROM zrendition WHERE 0;
CREATE INDEX ztrashedrendition_assetuuid ON ztrashedrendition (assetuuid);
CREATE TABLE ztrashedalbumasset AS SELECT * FROM zalbumasset WHERE 0;
CREATE INDEX ztrashedalbumasset_asset ON ztrashedalbumasset (asset);
CREATE TABLE ztrashednotduplicate AS SELECT * FROM znotduplicate WHERE 0;
CREATE TABLE ztrashedduethumbnail AS SELECT * FROM zduethumbnail WHERE 0;
CREATE TABLE ztrashedundecodable AS SELECT * FROM zundecodable WHERE 0;
CREATE TABLE ztrashedduefacts AS SELECT * FROM zduefacts WHERE 0;

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
    DELETE FROM zbulletin WHERE photos + videos <= 0;
END;
)sql";

// What came of reading originals again, see OriginalFault.h. Bulletins may be about the library instead of an
// album; no number of one that has gone is used again.
constexpr const char *scrubs = R"sql(
CREATE TABLE zscrub (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date REAL NOT NULL,
    modified INTEGER,
    fault INTEGER NOT NULL DEFAULT 0,
    detail TEXT NOT NULL DEFAULT ''
);
CREATE INDEX zscrub_fault ON zscrub (fault) WHERE fault <> 0;
CREATE TABLE ztrashedscrub AS SELECT * FROM zscrub WHERE 0;

DROP TRIGGER zgenericasset_bulletin_delete;
CREATE TABLE znewbulletin (
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
INSERT INTO znewbulletin SELECT recordid, 0, originalrecordid, originaldate, date, album, asset, photos, videos, sender
    FROM zbulletin;
DELETE FROM sqlite_sequence WHERE name = 'znewbulletin';
INSERT INTO sqlite_sequence (name, seq) SELECT 'znewbulletin', seq FROM sqlite_sequence WHERE name = 'zbulletin';
DROP TABLE zbulletin;
ALTER TABLE znewbulletin RENAME TO zbulletin;
CREATE INDEX zbulletin_album ON zbulletin (album);
CREATE INDEX zbulletin_asset ON zbulletin (asset);
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
    DELETE FROM zbulletin WHERE photos + videos <= 0;
END;
)sql";

// The second file of a shot, which is kept with the first.
constexpr const char *companions = R"sql(
CREATE TABLE zcompanion (
    assetuuid TEXT PRIMARY KEY REFERENCES zgenericasset (uuid) ON DELETE CASCADE,
    filename TEXT NOT NULL,
    originalfilename TEXT NOT NULL,
    format TEXT NOT NULL,
    bytesize INTEGER NOT NULL,
    sha256 BLOB NOT NULL CHECK (length(sha256) = 32)
);
CREATE INDEX zcompanion_sha256 ON zcompanion (sha256);
CREATE TABLE ztrashedcompanion AS SELECT * FROM zcompanion WHERE 0;
CREATE INDEX ztrashedcompanion_assetuuid ON ztrashedcompanion (assetuuid);
CREATE INDEX ztrashedcompanion_sha256 ON ztrashedcompanion (sha256);
)sql";

// An entry of the feed begins and ends with what is in it, also when something goes. Assets that were saved
// before the camera's clock was kept are found without a look at all others.
constexpr const char *shrinkingFeed = R"sql(
DROP TRIGGER zalbumasset_feed_delete;
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
UPDATE zcloudfeedentry SET (startdate, enddate) =
    (SELECT coalesce(min(dateadded), startdate), coalesce(max(dateadded), enddate)
     FROM zcloudfeedasset JOIN zalbumasset ON zalbumasset.asset = zcloudfeedasset.asset
     WHERE entry = zcloudfeedentry.pk AND zalbumasset.album = zcloudfeedentry.album);
CREATE INDEX zgenericasset_noclock ON zgenericasset (pk) WHERE clockdate IS NULL;
)sql";

// What the thumbnails and the edited rendition of each asset take, and the sums of what takes room: adding
// them up would take longer the more there is. See KeptSums.h.
constexpr const char *derivedSizes = R"sql(
ALTER TABLE zgenericasset ADD COLUMN derivedbytes INTEGER;
ALTER TABLE ztrashedasset ADD COLUMN derivedbytes INTEGER;
CREATE INDEX zgenericasset_unmeasured ON zgenericasset (pk) WHERE coalesce(derivedbytes, -1) < 0;
CREATE INDEX ztrashedasset_unmeasured ON ztrashedasset (pk) WHERE coalesce(derivedbytes, -1) < 0;
CREATE TRIGGER zduethumbnail_derived_insert AFTER INSERT ON zduethumbnail BEGIN
    UPDATE zgenericasset SET derivedbytes = NULL WHERE pk = new.asset AND derivedbytes IS NOT NULL;
END;
CREATE TABLE zsize (
    what TEXT PRIMARY KEY,
    bytes INTEGER NOT NULL
);
INSERT INTO zsize VALUES
    ('derived', 0),
    ('companions', (SELECT coalesce(sum(bytesize), 0) FROM zcompanion)),
    ('trash', (SELECT coalesce(sum(bytesize), 0) FROM ztrashedasset) +
              (SELECT coalesce(sum(bytesize), 0) FROM ztrashedcompanion));
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
)sql";

// The rounds in which thumbnails were made: they are synced later, many at once, and their rows stay until
// then. 0 when they have not been made.
constexpr const char *madeThumbnails = R"sql(
ALTER TABLE zduethumbnail ADD COLUMN made INTEGER NOT NULL DEFAULT 0;
DROP TRIGGER zduethumbnail_derived_insert;
CREATE TRIGGER zduethumbnail_derived_insert AFTER INSERT ON zduethumbnail WHEN new.made = 0 BEGIN
    UPDATE zgenericasset SET derivedbytes = NULL WHERE pk = new.asset AND derivedbytes IS NOT NULL;
END;
)sql";

// The bulletin that counts a faulty original, by the number of its first record. An asset leaves its
// bulletins, also one that is left with nothing to count: it is not shown, and counts again what comes back
// from the trash.
constexpr const char *countedOriginals = R"sql(
ALTER TABLE zscrub ADD COLUMN bulletin INTEGER;
ALTER TABLE ztrashedscrub ADD COLUMN bulletin INTEGER;
CREATE INDEX zscrub_bulletin ON zscrub (bulletin) WHERE bulletin IS NOT NULL;
UPDATE zscrub SET bulletin = (SELECT originalrecordid FROM zbulletin WHERE type = 1 AND zbulletin.asset = zscrub.asset)
    WHERE fault <> 0;
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
DROP TRIGGER zgenericasset_bulletin_delete;
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
)sql";

// What came of reading companions again, like that of originals. A bulletin counts an asset once, for either.
constexpr const char *companionScrubs = R"sql(
CREATE TABLE zcompanionscrub (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE,
    date REAL NOT NULL,
    modified INTEGER,
    fault INTEGER NOT NULL DEFAULT 0,
    detail TEXT NOT NULL DEFAULT ''
);
CREATE INDEX zcompanionscrub_fault ON zcompanionscrub (fault) WHERE fault <> 0;
CREATE TABLE ztrashedcompanionscrub AS SELECT * FROM zcompanionscrub WHERE 0;
)sql";

// What an analysis has left to do, so that it is found without a look at all assets and all moments. An asset
// is to be fingerprinted until it has a fingerprint of its present thumbnails.
constexpr const char *dueAnalyses = R"sql(
CREATE INDEX zmoment_unanalyzed ON zmoment (list) WHERE analyzed = 0;
CREATE INDEX zmomentlist_unanalyzed ON zmomentlist (pk) WHERE analyzed = 0;
CREATE TABLE zduefingerprint (
    asset INTEGER PRIMARY KEY REFERENCES zgenericasset (pk) ON DELETE CASCADE
);
INSERT INTO zduefingerprint SELECT a.pk FROM zgenericasset a LEFT JOIN zfingerprint f ON f.asset = a.pk
    WHERE f.asset IS NULL OR f.thumbnailindex <> a.thumbnailindex;
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
)sql";

// What photographs say of themselves, and what people say of them; see AssetDetails.h. And which part is
// still to be read from the file, see DueDetail: all of what was saved before.
constexpr const char *details = R"sql(
ALTER TABLE zgenericasset ADD COLUMN camera TEXT NOT NULL DEFAULT '';
ALTER TABLE zgenericasset ADD COLUMN lens TEXT NOT NULL DEFAULT '';
ALTER TABLE zgenericasset ADD COLUMN exposureseconds REAL;
ALTER TABLE zgenericasset ADD COLUMN aperture REAL;
ALTER TABLE zgenericasset ADD COLUMN isospeed INTEGER;
ALTER TABLE zgenericasset ADD COLUMN focallength REAL;
ALTER TABLE zgenericasset ADD COLUMN favourite INTEGER NOT NULL DEFAULT 0;
ALTER TABLE zgenericasset ADD COLUMN hidden INTEGER NOT NULL DEFAULT 0;
ALTER TABLE zgenericasset ADD COLUMN rating INTEGER NOT NULL DEFAULT 0;
ALTER TABLE zgenericasset ADD COLUMN caption TEXT NOT NULL DEFAULT '';
ALTER TABLE zgenericasset ADD COLUMN keywords TEXT NOT NULL DEFAULT '';
ALTER TABLE zgenericasset ADD COLUMN duedetails INTEGER NOT NULL DEFAULT 15;
CREATE INDEX zgenericasset_duedetails ON zgenericasset (pk) WHERE duedetails <> 0;
CREATE TRIGGER zgenericasset_details_update
AFTER UPDATE OF favourite, hidden, rating, caption, keywords ON zgenericasset
WHEN old.favourite IS NOT new.favourite OR old.hidden IS NOT new.hidden OR old.rating IS NOT new.rating
    OR old.caption IS NOT new.caption OR old.keywords IS NOT new.keywords BEGIN
    INSERT INTO zchange (what, assetuuid) VALUES (1, new.uuid);
END;
)sql";

// Hashes that are computed in another way can't be compared with those before.
constexpr const char *newHashes = R"sql(
DELETE FROM zfingerprint;
UPDATE zduplicatestate SET changed = changed + 1;
)sql";

// What pages of assets in each order, or of some filters, begin with: a range of an index. An album keeps the
// dates of its assets for that.
constexpr const char *orders = R"sql(
DROP INDEX zgenericasset_kind;
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

ALTER TABLE zgenericasset ADD COLUMN edited INTEGER NOT NULL DEFAULT 0;
UPDATE zgenericasset SET edited = 1 WHERE uuid IN (SELECT assetuuid FROM zrendition);
CREATE INDEX zgenericasset_edited ON zgenericasset (coalesce(clockdate, datecreated)) WHERE edited = 1;
CREATE TRIGGER zrendition_edited_insert AFTER INSERT ON zrendition BEGIN
    UPDATE zgenericasset SET edited = 1 WHERE uuid = new.assetuuid;
END;
CREATE TRIGGER zrendition_edited_delete AFTER DELETE ON zrendition BEGIN
    UPDATE zgenericasset SET edited = 0 WHERE uuid = old.assetuuid;
END;

ALTER TABLE zalbumasset ADD COLUMN shown REAL NOT NULL DEFAULT 0;
UPDATE zalbumasset SET shown = (SELECT coalesce(clockdate, datecreated) FROM zgenericasset WHERE pk = asset);
CREATE INDEX zalbumasset_shown ON zalbumasset (album, shown, asset);
CREATE TRIGGER zalbumasset_shown_insert AFTER INSERT ON zalbumasset BEGIN
    UPDATE zalbumasset SET shown = (SELECT coalesce(clockdate, datecreated) FROM zgenericasset WHERE pk = new.asset)
        WHERE album = new.album AND asset = new.asset;
END;
CREATE TRIGGER zgenericasset_shown_update AFTER UPDATE OF datecreated, clockdate ON zgenericasset BEGIN
    UPDATE zalbumasset SET shown = coalesce(new.clockdate, new.datecreated) WHERE asset = new.pk;
END;
)sql";

// New tables and columns are added by a step of their own at the end.
constexpr const char *steps[] = {assets,
                                 renditions,
                                 durations,
                                 sums,
                                 counts,
                                 analyses,
                                 albums,
                                 sharing,
                                 feed,
                                 dueThumbnails,
                                 clocks,
                                 decoders,
                                 currentFeed,
                                 visits,
                                 trash,
                                 scrubs,
                                 companions,
                                 shrinkingFeed,
                                 derivedSizes,
                                 madeThumbnails,
                                 countedOriginals,
                                 companionScrubs,
                                 dueAnalyses,
                                 details,
                                 newHashes,
                                 orders};

constexpr const char *ofUUID = "assetuuid IN (SELECT uuid FROM zgenericasset WHERE pk = ?1 UNION ALL "
                               "SELECT uuid FROM ztrashedasset WHERE pk = ?1)";

constexpr TrashedTable tablesOfTrash[] = {
    {"zgenericasset", "ztrashedasset", "pk = ?1", "1"},
    {"zrendition", "ztrashedrendition", ofUUID, "1"},
    {"zcompanion", "ztrashedcompanion", ofUUID, "1"},
    {"zalbumasset", "ztrashedalbumasset", "asset = ?1", "album IN (SELECT pk FROM zalbum)"},
    {"znotduplicate", "ztrashednotduplicate", "?1 IN (one, other)",
     "one IN (SELECT pk FROM zgenericasset) AND other IN (SELECT pk FROM zgenericasset)"},
    {"zduethumbnail", "ztrashedduethumbnail", "asset = ?1", "1"},
    {"zundecodable", "ztrashedundecodable", "asset = ?1", "1"},
    {"zduefacts", "ztrashedduefacts", "asset = ?1", "1"},
    {"zscrub", "ztrashedscrub", "asset = ?1", "1"},
    {"zcompanionscrub", "ztrashedcompanionscrub", "asset = ?1", "1"},
};

/// Gives the tables of the trash the columns that the others have got.
Result<> addColumnsToTrash(sqlite::Database &database) {
    for (const TrashedTable &table : tablesOfTrash) {
        const auto missing =
            database
                .prepare("SELECT 'ALTER TABLE ' || ?2 || ' ADD COLUMN ' || name || ' ' || type || "
                         "coalesce(' DEFAULT ' || dflt_value, '') FROM pragma_table_info(?1) "
                         "WHERE name NOT IN (SELECT name FROM pragma_table_info(?2))")
                .bind(table.name, table.trash)
                .all([](const sqlite::Statement &row) { return std::string(row.text(0)); });
        if (!missing)
            return passOn(missing);
        for (const std::string &addition : *missing)
            if (const auto added = database.execute(addition.c_str()); !added)
                return added;
    }
    return {};
}

} // namespace

std::span<const TrashedTable> trashedTables() noexcept {
    return tablesOfTrash;
}

std::span<const char *const> schemaSteps() noexcept {
    return steps;
}

Result<> layOut(sqlite::Database &database) {
    const auto taken = database.integer("PRAGMA user_version");
    if (!taken)
        return passOn(taken);
    if (*taken < 0 || *taken > modelVersion())
        return fail(ProblemKind::newerVersion, "the library has model version " + std::to_string(*taken) +
                                                   ", and this hoardd knows version " +
                                                   std::to_string(modelVersion()));
    for (const char *step : schemaSteps().subspan(static_cast<std::size_t>(*taken)))
        if (const auto done = database.execute(step); !done)
            return done;
    if (const auto added = addColumnsToTrash(database); !added)
        return added;
    return database.execute(("PRAGMA user_version = " + std::to_string(modelVersion())).c_str());
}

} // namespace wickerlane::store
