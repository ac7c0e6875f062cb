// Prints the cues of the WebVTT files named: a JSON array of {errors, cues: [[id, start, end]]}.
import {readFileSync} from 'node:fs';
import webvtt from 'webvtt-parser';

const files = process.argv.slice(2).map((name) => {
  const {cues, errors} = new webvtt.WebVTTParser().parse(readFileSync(name, 'utf8'), 'metadata');
  return {errors, cues: cues.map(({id, startTime, endTime}) => [id, startTime, endTime])};
});
console.log(JSON.stringify(files));
