// What a page can do where scripts run: choose the output, sort, filter, show values, move the target.
//
// The page's own text is in its elements; the figures are in the JSON of #data. There `inputs` has the names,
// places, rules of figures, numbers of steps and base values of all inputs, and for each simulation what their
// steps set them to, one after another. Each of `views`, an output in a simulation, has its results in the same
// order; `order` has the inputs by rank, `ends` for each of them the steps of its lowest and highest result (-1:
// none), `asked` the values at which they reach the output's own target, where the model was asked for them.
// Packed numbers are 64-bit ones in base 64, NaN for what is no number.
"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const { texts, inputs, language } = data;
  const find = (id) => document.getElementById(id);
  const fill = (text, ...values) => text.replace(/\{(\d)\}/g, (_, place) => values[place - 1]);
  const element = (tag, text, className) => {
    const made = document.createElement(tag);
    if (text !== undefined) made.textContent = text;
    if (className) made.className = className;
    return made;
  };

  const unpacked = (text) => {
    const bytes = atob(text);
    const buffer = new Uint8Array(bytes.length);
    for (let i = 0; i < bytes.length; ++i) buffer[i] = bytes.charCodeAt(i);
    return new Float64Array(buffer.buffer);
  };

  // ---- Figures: rules are [manner of numbers above zero, of those below, text of zero], or the format of a date ----

  // A size with so many decimals, times ten to the power of `scale`; of its 15 digits, halves go up.
  const fixed = (size, decimals, scale) => {
    const [mantissa, exponent] = size.toExponential(14).split("e");
    const digits = BigInt(mantissa.replace(".", ""));
    const shift = Number(exponent) - 14 + decimals + scale;
    const unit = 10n ** BigInt(Math.abs(shift));
    const rounded = (shift >= 0 ? digits * unit : (digits + unit / 2n) / unit).toString();
    const all = rounded.padStart(decimals + 1, "0");
    return [all.slice(0, all.length - decimals), all.slice(all.length - decimals)];
  };

  const dateText = (code, serial) => {
    const day = Math.floor(serial);
    const date = new Date(Date.UTC(1899, 11, day < 60 ? 31 : 30) + day * 864e5);
    const parts = { y: date.getUTCFullYear(), m: date.getUTCMonth() + 1, d: date.getUTCDate() };
    return code.replace(/[ymd]+/g, (run) => String(parts[run[0]]).padStart(run.length, "0"));
  };

  const numberText = (rules, value) => {
    if (Number.isNaN(value)) return texts.none;
    if (typeof rules === "string") return dateText(rules, value);
    if (value === 0) return rules[2];
    const [before, after, decimals, scale, groups, exponent] = rules[value < 0 ? 1 : 0];
    if (exponent) {
      const [mantissa, power] = Math.abs(value).toExponential(decimals).split("e");
      const size = String(Math.abs(power)).padStart(2, "0");
      return before + mantissa.replace(".", language.decimal) + "E" + (power < 0 ? "−" : "+") + size + after;
    }
    const [whole, rest] = fixed(Math.abs(value), decimals, scale);
    const grouped = groups ? whole.replace(/\B(?=(\d{3})+$)/g, language.group) : whole;
    return before + grouped + (rest ? language.decimal + rest : "") + after;
  };
  const changeText = (fraction) => {
    if (Number.isNaN(fraction)) return texts.none;
    const text = numberText(data.percent, fraction);
    return fraction > 0 && /[1-9]/.test(text) ? "+" + text : text;
  };

  // What a reader typed, read by the rules that it is shown by; NaN for what is no number.
  const readNumber = (rules, text) => {
    if (typeof rules === "string") {
      const figures = text.match(/\d+/g) || [];
      const order = rules.match(/[ymd]+/g).map((run) => run[0]);
      const part = (letter) => Number(figures[order.indexOf(letter)]);
      return Date.UTC(part("y"), part("m") - 1, part("d")) / 864e5 + 25569;
    }
    const plain = text.replaceAll("−", "-").replaceAll(language.group, "").replace(language.decimal, ".");
    const number = /-?\d*\.?\d+(e[-+]?\d+)?/i.exec(plain.replace(/\s/g, ""));
    return number ? Number(number[0]) / 10 ** rules[0][3] : NaN;
  };

  // ---- Data ----

  const firstSteps = [];
  inputs.steps.reduce((first, steps, input) => (firstSteps[input] = first) + steps, 0);
  const tried = [];
  const valuesOf = (simulation) => (tried[simulation] ??= unpacked(inputs.values[simulation]));

  const views = [];
  const viewOf = (number) => {
    if (views[number]) return views[number];
    const source = data.views[number];
    const values = valuesOf(source.simulation);
    const results = unpacked(source.results);
    const swings = unpacked(source.swings);
    const shares = unpacked(source.shares);
    const elasticities = unpacked(source.elasticities);
    const arcs = unpacked(source.arcs);
    const idle = new Set(source.idle);
    const at = (list, input, step) => (step < 0 ? NaN : list[firstSteps[input] + step]);
    const base = source.base ?? NaN;
    // From the base value; what calculating leaves behind is no change.
    const change = (value) =>
      Math.abs(value - base) <= 1e-12 * Math.max(Math.abs(value), Math.abs(base)) ? 0 : value - base;
    let cumulative = 0;
    const rows = source.order.map((input, place) => {
      const [low, high] = [source.ends[2 * place], source.ends[2 * place + 1]];
      return {
        input,
        rank: place + 1,
        name: inputs.names[input],
        at_low: idle.has(input) ? NaN : at(values, input, low),
        low: at(results, input, low),
        at_high: idle.has(input) ? NaN : at(values, input, high),
        high: at(results, input, high),
        swing: swings[place],
        downside: Math.min(change(at(results, input, low)), 0),
        upside: Math.max(change(at(results, input, high)), 0),
        share: shares[place],
        cumulative: Number.isNaN(shares[place]) ? NaN : (cumulative += shares[place]),
        elasticity: elasticities[place],
        arc_elasticity: arcs[place],
        remarks: source.remarks[input] || "",
        break_even: [],
      };
    });
    const rules = data.rules[source.rules];
    return (views[number] = { ...source, number, values, results, rows, base, rules, idle });
  };

  // The steps of an input with numbers, by its value; `gap`: a step without a result stands before.
  const curveOf = (view, input) => {
    const steps = [];
    for (let step = 0; step < inputs.steps[input]; ++step) {
      const place = firstSteps[input] + step;
      if (!Number.isNaN(view.values[place])) steps.push([view.values[place], view.results[place]]);
    }
    steps.sort((a, b) => a[0] - b[0]);
    const curve = [];
    let gap = false;
    for (const [x, y] of steps) {
      if (Number.isNaN(y)) {
        gap = true;
        continue;
      }
      curve.push({ x, y, gap });
      gap = false;
    }
    return curve;
  };

  // Where the straight lines between neighbouring steps reach a target; of steps that all are at it, the first
  // and the last. A result is at it that differs by no more than calculating leaves behind. `asked`: what the
  // model answered in the place of lines.
  const crossings = (curve, target, asked) => {
    const largest = curve.reduce((size, point) => Math.max(size, Math.abs(point.y)), Math.abs(target));
    const sides = curve.map((point) => (Math.abs(point.y - target) <= 1e-12 * largest ? 0 : Math.sign(point.y - target)));
    const joined = (i) => i > 0 && i < curve.length && !curve[i].gap;
    const found = [];
    curve.forEach((point, i) => {
      const before = joined(i) ? sides[i - 1] : undefined;
      if (sides[i] === 0) {
        const inside = before === 0 && joined(i + 1) && sides[i + 1] === 0;
        if (!inside && found.at(-1) !== point.x) found.push(point.x);
      } else if (before === -sides[i]) {
        const from = curve[i - 1];
        if (asked) {
          found.push(...asked.filter((value) => value >= from.x && value <= point.x).slice(0, 1));
          return;
        }
        const part = (target / 2 - from.y / 2) / (point.y / 2 - from.y / 2);
        found.push(from.x + part * (point.x - from.x));
      }
    });
    return found;
  };

  // ---- State ----

  const state = { view: 0, filter: "", target: 0 };
  const inChanges = () => document.body.classList.contains("changes") && viewOf(state.view).changes;
  const section = () => find("view-" + state.view);
  let saying;
  const say = (text) => {
    clearTimeout(saying);
    saying = setTimeout(() => (find("said").textContent = text), 300);
  };

  const outputText = (view, value) =>
    inChanges() ? changeText((value - view.base) / Math.abs(view.base)) : numberText(view.rules, value);
  const swingText = (view, value) => {
    if (inChanges()) return numberText(data.percent, value / Math.abs(view.base));
    return numberText(typeof view.rules === "string" ? data.whole : view.rules, value);
  };
  const inputText = (input, value) => numberText(data.rules[inputs.rules[input]], value);
  const breakEvenText = (row) =>
    row.break_even.length ? row.break_even.map((value) => inputText(row.input, value)).join("; ") : texts.none;

  const cellTexts = {
    rank: (view, row) => String(row.rank),
    at_low: (view, row) => inputText(row.input, row.at_low),
    low: (view, row) => outputText(view, row.low),
    at_high: (view, row) => inputText(row.input, row.at_high),
    high: (view, row) => outputText(view, row.high),
    swing: (view, row) => swingText(view, row.swing),
    downside: (view, row) => swingText(view, row.downside),
    upside: (view, row) => swingText(view, row.upside),
    share: (view, row) => numberText(data.percent, row.share),
    cumulative: (view, row) => numberText(data.percent, row.cumulative),
    elasticity: (view, row) => numberText(data.plain, row.elasticity),
    arc_elasticity: (view, row) => numberText(data.plain, row.arc_elasticity),
    break_even: (view, row) => breakEvenText(row),
    remarks: (view, row) => row.remarks,
  };

  // ---- Tables ----

  const valueOf = (row, key) => {
    const value = row[key];
    return Array.isArray(value) ? (value.length ? value[0] : NaN) : value;
  };
  const compare = (key, direction) => (a, b) => {
    const [first, second] = [valueOf(a, key), valueOf(b, key)];
    if (typeof first === "string") return direction * first.localeCompare(second, document.documentElement.lang);
    // What is no number comes last, whichever way.
    if (Number.isNaN(first) || Number.isNaN(second)) return Number.isNaN(first) - Number.isNaN(second);
    return direction * (first - second);
  };

  const exported = (value) => {
    if (Array.isArray(value)) return value.map(String).join("; ");
    return typeof value === "number" ? (Number.isNaN(value) ? "" : String(value)) : value;
  };
  const quoted = (text) => (/[",\r\n]/.test(text) ? '"' + text.replaceAll('"', '""') + '"' : text);

  class Table {
    constructor(frame, view) {
      this.frame = frame;
      this.view = view;
      this.kind = frame.dataset.table;
      this.heads = [...frame.querySelectorAll("thead th")];
      this.keys = this.heads.map((head) => head.dataset.key);
      this.body = frame.querySelector("tbody");
      this.rows = this.readRows();
      this.order = this.rows;
      this.addTools();
      this.heads.forEach((head, i) => this.makeSortable(head, this.keys[i]));
    }
    // Rows of elements that are there: the groups.
    readRows() {
      const values = unpacked(this.view.groups);
      const figures = this.keys.slice(2);
      return [...this.body.rows].map((made, place) => {
        const row = { made, rank: place + 1, name: made.querySelector("th").textContent };
        figures.forEach((key, i) => (row[key] = values[place * figures.length + i]));
        return row;
      });
    }
    addTools() {
      const tools = element("div", undefined, "tools");
      const button = (text, action) => {
        const made = tools.appendChild(element("button", text));
        made.type = "button";
        made.addEventListener("click", action);
      };
      button(texts.copy, () => this.copy());
      button(texts.download, () => this.download());
      this.frame.prepend(tools);
    }
    makeSortable(head, key) {
      const button = element("button", head.textContent);
      button.type = "button";
      head.replaceChildren(button);
      button.addEventListener("click", () => {
        const down = head.getAttribute("aria-sort") === "ascending";
        this.heads.forEach((other) => other.removeAttribute("aria-sort"));
        head.setAttribute("aria-sort", down ? "descending" : "ascending");
        this.sorting = [key, down ? -1 : 1];
        this.arrange();
        say(fill(down ? texts.down : texts.up, button.textContent));
      });
    }
    // What is shown, in its order.
    arrange() {
      const wanted = state.filter.toLocaleLowerCase();
      this.order = this.rows.filter((row) => row.name.toLocaleLowerCase().includes(wanted));
      if (this.sorting) this.order = [...this.order].sort(compare(...this.sorting));
      this.draw();
    }
    draw() {
      this.body.replaceChildren(...this.order.map((row) => row.made));
    }
    lines() {
      const heads = this.heads.map((head) => head.textContent);
      const named = this.keys.indexOf("name") + 1;
      if (this.kind === "inputs") heads.splice(named, 0, texts.place);
      return [
        heads,
        ...this.order.map((row) => {
          const cells = this.keys.map((key) => exported(row[key]));
          if (this.kind === "inputs") cells.splice(named, 0, inputs.places[row.input]);
          return cells;
        }),
      ];
    }
    // Cells of a spreadsheet when they are pasted.
    async copy() {
      const text = this.lines().map((cells) => cells.join("\t").replaceAll("\n", " ")).join("\n");
      await navigator.clipboard.writeText(text);
      say(texts.copied);
    }
    download() {
      const text = this.lines().map((cells) => cells.map(quoted).join(",") + "\r\n").join("");
      const link = element("a");
      link.href = URL.createObjectURL(new Blob(["\ufeff" + text], { type: "text/csv" }));
      link.download = this.view.name.replace(/[\\/:*?"<>|]+/g, "-") + " - " + this.kind + ".csv";
      link.click();
      URL.revokeObjectURL(link.href);
    }
  }

  // All inputs of an output. Of many only those are drawn that can be seen.
  class InputTable extends Table {
    static most = 150;
    readRows() {
      this.scroller = this.frame.querySelector(".scroll");
      this.scroller.addEventListener("scroll", () => this.drawSeen());
      return this.view.rows;
    }
    draw() {
      this.many = this.order.length > InputTable.most;
      this.frame.classList.toggle("window", this.many);
      if (this.many) this.frame.querySelector("table").setAttribute("aria-rowcount", this.order.length + 1);
      this.seen = undefined;
      if (this.many) this.drawSeen();
      else this.body.replaceChildren(...this.order.map((row) => this.made(row)));
    }
    drawAll() {
      this.body.replaceChildren(...this.order.map((row) => this.made(row)));
    }
    drawSeen() {
      if (!this.many) return;
      const around = 20;
      this.height ||= this.measured();
      const first = Math.max(Math.floor(this.scroller.scrollTop / this.height) - around, 0);
      const last = Math.min(first + Math.ceil(this.scroller.clientHeight / this.height) + 2 * around, this.order.length);
      if (this.seen && Math.abs(this.seen[0] - first) < around / 2 && this.seen[1] <= last) return;
      this.seen = [first, last];
      const rows = this.order.slice(first, last).map((row, i) => {
        const made = this.made(row);
        made.setAttribute("aria-rowindex", first + i + 2);
        return made;
      });
      this.body.replaceChildren(this.gap(first), ...rows, this.gap(this.order.length - last));
    }
    measured() {
      this.body.replaceChildren(...this.order.slice(0, 10).map((row) => this.made(row)));
      return this.body.getBoundingClientRect().height / this.body.rows.length;
    }
    gap(rows) {
      const made = element("tr", undefined, "gap");
      made.setAttribute("aria-hidden", "true");
      const cell = made.appendChild(element("td"));
      cell.colSpan = this.keys.length;
      cell.style.height = rows * this.height + "px";
      return made;
    }
    made(row) {
      const made = element("tr");
      made.dataset.input = row.input;
      for (const [i, key] of this.keys.entries()) {
        if (key === "name") {
          const head = made.appendChild(element("th", row.name));
          head.scope = "row";
          head.append(element("small", inputs.places[row.input]));
        } else {
          made.append(element("td", cellTexts[key](this.view, row), this.heads[i].matches(".t") ? "t" : ""));
        }
      }
      return made;
    }
  }

  // The steps of the inputs that graphs have.
  class StepTable extends Table {
    readRows() {
      const { view } = this;
      return view.drawn.flatMap((input) =>
        Array.from({ length: inputs.steps[input] }, (_, step) => {
          const place = firstSteps[input] + step;
          const [value, output] = [view.values[place], view.results[place]];
          const change = (output - view.base) / Math.abs(view.base);
          const row = { input, name: inputs.names[input], step: step + 1, value, output, change };
          const texts = [row.step, inputText(input, value), numberText(view.rules, output)];
          if (view.changes) texts.push(changeText(change));
          row.made = element("tr");
          row.made.dataset.input = input;
          const head = row.made.appendChild(element("th", row.name));
          head.scope = "row";
          row.made.append(...texts.map((text) => element("td", text)));
          return row;
        }),
      );
    }
  }

  const kinds = { inputs: InputTable, steps: StepTable };
  const tablesOf = new Map();
  const tables = () => tablesOf.get(state.view) || [];
  const makeTables = () => {
    if (tablesOf.has(state.view)) return;
    const view = viewOf(state.view);
    const frames = [...section().querySelectorAll(".table")];
    tablesOf.set(
      state.view,
      frames.map((frame) => new (kinds[frame.dataset.table] || Table)(frame, view)),
    );
  };

  // ---- Graphs ----

  const scaleOf = (text) => {
    const [first, last, from, to] = text.split(" ").map(Number);
    return {
      at: (value) => from + ((value - first) / (last - first)) * (to - from),
      back: (place) => first + ((place - from) / (to - from)) * (last - first),
      has: (value) => value >= Math.min(first, last) && value <= Math.max(first, last),
      from,
      to,
    };
  };
  const svgElement = (tag, attributes, text) => {
    const made = document.createElementNS("http://www.w3.org/2000/svg", tag);
    for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, value);
    if (text !== undefined) made.textContent = text;
    return made;
  };
  // The group that marks of the target stand in, empty.
  const marksIn = (plot) => {
    plot.querySelector(".aims")?.remove();
    return plot.appendChild(svgElement("g", { class: "aims" }));
  };

  const aimTornado = (view) => {
    const plot = section().querySelector("figure.tornado .plot");
    if (!plot) return;
    const marks = marksIn(plot);
    plot.insertBefore(marks, plot.querySelector(".row"));  // behind the texts at the ends of bars
    const scale = scaleOf(plot.dataset.x);
    if (!scale.has(state.target) || !view.rows.some((row) => row.break_even.length)) return;
    const [top, bottom] = plot.dataset.y.split(" ").map(Number);
    const x = scale.at(state.target);
    marks.append(
      svgElement("path", { class: "target", d: `M${x} ${top - 18}L${x} ${bottom}` }),
      svgElement("text", { class: "aim", x, y: top - 24, "text-anchor": "middle" }, numberText(view.rules, state.target)),
    );
  };

  const aimPanels = (view) => {
    const found = new Map(view.rows.map((row) => [row.input, row.break_even]));
    for (const plot of section().querySelectorAll("figure.sensitivity .plot")) {
      const marks = marksIn(plot);
      const [x, y] = [scaleOf(plot.dataset.x), scaleOf(plot.dataset.y)];
      const input = Number(plot.dataset.input);
      if (!y.has(state.target) || !found.get(input).length) continue;
      const height = y.at(state.target);
      marks.append(svgElement("path", { class: "target", d: `M${x.from} ${height}L${x.to} ${height}` }));
      for (const value of found.get(input)) {
        marks.append(svgElement("circle", { class: "mark", cx: x.at(value), cy: height, r: 4 }));
        const end = x.at(value) > (x.from + x.to) / 2;
        marks.append(
          svgElement(
            "text",
            { class: "aim", x: x.at(value) + (end ? -7 : 7), y: height - 6, "text-anchor": end ? "end" : "start" },
            inputText(input, value),
          ),
        );
      }
    }
  };

  const aim = (target) => {
    const view = viewOf(state.view);
    state.target = target;
    const heading = section().querySelector("[data-table=inputs] [data-key=break_even]");
    (heading.querySelector("button") || heading).textContent = fill(texts.output_at, numberText(view.rules, target));
    const asked = (input) => (view.asked && target === view.target ? view.asked[input] || [] : undefined);
    for (const row of view.rows)
      row.break_even = view.idle.has(row.input) ? [] : crossings(curveOf(view, row.input), target, asked(row.input));
    aimTornado(view);
    aimPanels(view);
    tables()
      .filter((table) => table.kind === "inputs")
      .forEach((table) => table.arrange());
  };
  const tellAim = () => {
    const view = viewOf(state.view);
    const reached = view.rows.filter((row) => row.break_even.length).length;
    say(fill(texts.reached, reached, view.rows.length, numberText(view.rules, state.target)));
  };

  // ---- What is under the pointer ----

  const tip = document.body.appendChild(element("div"));
  tip.id = "tip";
  tip.hidden = true;
  const stepText = (view, input, x, y) =>
    `${inputText(input, x)} → ${outputText(view, y)}`;
  const wordsFor = (plot, event) => {
    const view = viewOf(state.view);
    const input = Number(plot.dataset.input);
    const row = view.rows.find((each) => each.input === input);
    const words = [row.name];
    if (plot.matches(".plot")) {
      // The step that is nearest.
      const svg = plot.ownerSVGElement;
      const place = new DOMPoint(event.clientX, event.clientY).matrixTransform(svg.getScreenCTM().inverse());
      const scale = scaleOf(plot.dataset.x);
      const distance = (point) => Math.abs(scale.at(point.x) - place.x);
      const curve = curveOf(view, input);
      const nearest = curve.reduce((best, point) => (distance(point) < distance(best) ? point : best));
      words.push(stepText(view, input, nearest.x, nearest.y));
    } else if (!Number.isNaN(row.at_low)) {
      words.push(stepText(view, input, row.at_low, row.low), stepText(view, input, row.at_high, row.high));
    }
    if (row.remarks) words.push(row.remarks);
    return words.join("\n");
  };
  const light = (input) => {
    document.querySelectorAll(".lit").forEach((lit) => lit.classList.remove("lit"));
    document.body.classList.toggle("picking", input !== undefined);
    if (input === undefined) return;
    section()
      .querySelectorAll(`[data-input="${input}"]`)
      .forEach((each) => each.classList.add("lit"));
  };
  let lit;
  document.addEventListener("pointermove", (event) => {
    const target = event.target instanceof Element ? event.target : document.body;
    const plot = target.closest("svg.graph [data-input]") || target.closest(".panels svg")?.querySelector(".plot");
    const input = (plot || target.closest("tr[data-input]"))?.dataset.input;
    if (input !== lit) light((lit = input));
    tip.hidden = !plot;
    if (!plot) return;
    tip.textContent = wordsFor(plot, event);
    const { width, height } = tip.getBoundingClientRect();
    tip.style.left = Math.min(event.clientX + 14, innerWidth - width - 6) + "px";
    tip.style.top = (event.clientY + 18 + height > innerHeight ? event.clientY - height - 10 : event.clientY + 18) + "px";
  });

  // ---- Controls ----

  const slider = find("slider");
  const field = find("target");
  const setField = () => (field.value = numberText(viewOf(state.view).rules, state.target));

  const setRange = (view) => {
    const numbers = view.rows.flatMap((row) => [row.low, row.high]).filter((value) => !Number.isNaN(value));
    const low = numbers.reduce((a, b) => Math.min(a, b), Infinity);
    const high = numbers.reduce((a, b) => Math.max(a, b), -Infinity);
    slider.min = low;
    slider.max = high;
    slider.step = "any";
    slider.value = state.target;
    slider.disabled = !(high > low);
  };

  // Values and changes take each other's places in the texts of graphs.
  const startsInChanges = document.body.classList.contains("changes");
  const swapTexts = (place) => {
    for (const each of place.querySelectorAll("[data-other]")) {
      const parts = each.matches("text") ? [each] : [...each.children];
      const others = each.dataset.other.split("|");
      each.dataset.other = parts.map((part) => part.textContent).join("|");
      parts.forEach((part, i) => (part.textContent = others[i]));
    }
  };

  const show = (number) => {
    state.view = number;
    const view = viewOf(number);
    if (!section()) {
      find("results").insertAdjacentHTML("beforeend", view.section);
      if (document.body.classList.contains("changes") !== startsInChanges) swapTexts(section());
    }
    for (const each of document.querySelectorAll("section.view")) each.hidden = each !== section();
    makeTables();
    setRange(view);
    aim(view.target);
    slider.value = state.target;
    setField();
    tables().forEach((table) => table.arrange());
    find("output").value = number;
  };

  for (const other of document.querySelectorAll("details.other")) other.replaceWith(other.querySelector("section"));
  find("output").addEventListener("change", (event) => {
    show(Number(event.target.value));
    history.replaceState(null, "", "#view-" + state.view);
  });
  document.querySelectorAll("input[name=show]").forEach((choice) =>
    choice.addEventListener("change", () => {
      document.body.className = choice.value;
      swapTexts(document);
      tables().forEach((table) => table.arrange());
    }),
  );
  find("filter").addEventListener("input", (event) => {
    state.filter = event.target.value;
    tables().forEach((table) => table.arrange());
    const shown = tables().find((table) => table.kind === "inputs");
    say(fill(texts.filtered, shown.order.length, shown.rows.length));
  });
  slider.addEventListener("input", () => {
    aim(Number(slider.value));
    setField();
    tellAim();
  });
  field.addEventListener("change", () => {
    const view = viewOf(state.view);
    const target = readNumber(view.rules, field.value);
    if (!Number.isNaN(target)) {
      aim(target);
      slider.value = target;
      tellAim();
    }
    setField();
  });
  const form = document.querySelector(".controls");
  form.addEventListener("submit", (event) => event.preventDefault());
  form.hidden = false;
  addEventListener("beforeprint", () => tables().forEach((table) => table.many && table.drawAll()));
  addEventListener("afterprint", () => tables().forEach((table) => table.many && table.draw()));

  const asked = /^#view-(\d+)$/.exec(location.hash);
  show(asked && data.views[asked[1]] ? Number(asked[1]) : 0);
})();
