// Lines over time, and the ruler above all tracks.
import uPlot from 'uplot';

import {clock} from './format.js';
import {colour} from './theme.js';

const kNone = 255; // not measured

export function decibels(values, stepsPerDb, lowest = 0) {
  return Array.from(values, (value) => (value === kNone ? null : value / stepsPerDb + lowest));
}

export function shares(values, stepsOfOne) {
  return Array.from(values, (value) => (value === kNone ? null : value / stepsOfOne));
}

function gutter() {
  return parseFloat(colour('gutter'));
}

// Labels of the time axis need as many decimals as their spacing.
function timeLabels(plot, splits) {
  const distance = splits.length > 1 ? splits[1] - splits[0] : 1;
  const decimals =
    [0, 1, 2].find((n) => Math.abs(distance * 10 ** n - Math.round(distance * 10 ** n)) < 1e-6) ?? 3;
  const room = plot.bbox.width / devicePixelRatio - 22; // a label at the right edge would be clipped
  return splits.map((time) => (plot.valToPos(time, 'x') > room ? '' : clock(time, decimals)));
}

const kDistances = [
  0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800,
  3600, 7200,
];

function axis() {
  return {
    stroke: () => colour('quiet'),
    grid: {stroke: () => colour('line'), width: 1},
    ticks: {show: false},
    font: '11px system-ui, sans-serif',
  };
}

function timeAxis() {
  return {...axis(), incrs: kDistances, space: 80};
}

class Plot {
  constructor(container, options, data) {
    this.container = container;
    this.plot = new uPlot(
      {
        width: 100,
        padding: [6, 0, 6, 0],
        legend: {show: false},
        cursor: {show: false},
        ...options,
      },
      data,
      container
    );
  }

  draw(view) {
    const width = this.container.clientWidth;
    if (this.plot.width !== width) this.plot.setSize({width, height: this.plot.height});
    this.plot.setScale('x', {min: view.start, max: Math.max(view.end, view.start + 1e-3)});
  }

  recolour() {
    this.plot.redraw(false, true);
  }
}

export class Traces extends Plot {
  // lines: a list of {values, name, dash}, name being that of a colour and dash, if there is one, the lengths
  // of a stroke and of a gap, in pixels; range: [lowest, highest] of the axis
  constructor(container, height, step, lines, range) {
    const times = Float64Array.from(lines[0].values, (_, t) => (t + 0.5) * step);
    super(
      container,
      {
        height,
        scales: {x: {time: false, auto: false}, y: {range: () => range}},
        axes: [
          {...timeAxis(), size: 0, values: () => []},
          {...axis(), size: gutter, gap: 4, space: 26},
        ],
        series: [
          {},
          ...lines.map(({name, dash}) => ({
            stroke: () => colour(name),
            width: 1.25,
            dash,
            points: {show: false},
          })),
        ],
      },
      [times, ...lines.map(({values}) => values)]
    );
  }
}

export class Ruler extends Plot {
  constructor(container, seconds) {
    super(
      container,
      {
        height: 22,
        padding: [0, 0, 0, 0],
        scales: {x: {time: false, auto: false}, y: {range: () => [0, 1]}},
        axes: [
          {...timeAxis(), side: 0, size: 22, gap: 2, grid: {show: false}, values: timeLabels},
          {...axis(), size: gutter, grid: {show: false}, values: () => []},
        ],
        series: [{}, {show: false}],
      },
      [
        [0, seconds],
        [null, null],
      ]
    );
  }
}
