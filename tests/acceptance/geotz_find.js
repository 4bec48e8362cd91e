// geo-tz's answers for the acceptance check of the zone map and its
// benchmark. Points come as a file of little-endian float64 pairs
// (longitude, latitude).
//   node geotz_find.js MODULES find POINTS      one zone a line (geo-tz's first)
//   node geotz_find.js MODULES all POINTS       every zone geo-tz gives, space-separated,
//                                               first the one that holds
//   node geotz_find.js MODULES time POINTS N    a warm pass, then N timed passes;
//                                               prints {"points", "best_ns", "passes_ns"}
// MODULES is the folder whose node_modules holds geo-tz
// (scripts/fetch-geotz-truth.sh).
'use strict';
const fs = require('fs');

const [modules, mode, file, passesText] = process.argv.slice(2);
if (!modules || !file || !['find', 'all', 'time'].includes(mode)) {
  process.stderr.write('usage: geotz_find.js MODULES find|all|time POINTS [PASSES]\n');
  process.exit(2);
}
const geoTz = require(require.resolve('geo-tz/all', { paths: [modules] }));

const bytes = fs.readFileSync(file);
if (bytes.length % 16 !== 0) throw new Error(`${file}: not a whole number of coordinate pairs`);
const coordinates = new Float64Array(bytes.buffer, bytes.byteOffset, bytes.length / 8);
const count = coordinates.length / 2;

if (mode === 'find' || mode === 'all') {
  const lines = new Array(count);
  for (let i = 0; i < count; i++) {
    const zones = geoTz.find(coordinates[2 * i + 1], coordinates[2 * i]);
    if (zones.length === 0) throw new Error(`geo-tz has no zone at point ${i}`);
    lines[i] = mode === 'find' ? zones[0] : zones.join(' ');
  }
  process.stdout.write(lines.join('\n') + '\n');
} else {
  const passes = Number(passesText || 5);
  // The sum of the answers' lengths keeps the calls from being optimised away.
  let sink = 0;
  const pass = () => {
    const start = process.hrtime.bigint();
    for (let i = 0; i < count; i++) sink += geoTz.find(coordinates[2 * i + 1], coordinates[2 * i])[0].length;
    return Number(process.hrtime.bigint() - start) / count;
  };
  pass(); // loads every tile the points touch
  const times = [];
  for (let p = 0; p < passes; p++) times.push(pass());
  process.stdout.write(JSON.stringify({ points: count, best_ns: Math.min(...times), passes_ns: times, sink }) + '\n');
}
