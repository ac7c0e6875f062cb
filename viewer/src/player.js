// Plays the input or the output of a channel from the current position, optionally only to the end of a span.
export class Player {
  #media = new Audio();
  #urls = new Map(); // of sounds
  #listeners = [];
  #stopAt = Infinity;
  #time = 0; // where to play from while nothing is loaded
  #loaded = false; // the sound is at #time: the browser's own state changes before its event
  #factor = 1;
  #amplifier = null;

  constructor(report) {
    this.report = report;
    this.side = 'output';
    this.channel = report.channels[0];
    for (const event of ['play', 'pause', 'seeked', 'timeupdate'])
      this.#media.addEventListener(event, () => this.#tick());
    this.#media.addEventListener('loadedmetadata', () => {
      this.#media.currentTime = this.#time;
      this.#loaded = true;
    });
    this.#media.addEventListener('play', () => this.#follow());
  }

  onChange(listener) {
    this.#listeners.push(listener);
  }

  get hasSound() {
    return this.report.sound !== null;
  }
  get playing() {
    return !this.#media.paused;
  }
  get time() {
    return this.#loaded ? this.#media.currentTime : this.#time;
  }

  seek(time) {
    this.#stopAt = Infinity;
    this.#moveTo(time);
  }

  async toggle() {
    if (this.playing) {
      this.#media.pause();
    } else {
      this.#stopAt = Infinity;
      if (this.time >= this.report.seconds - 0.01) this.#moveTo(0);
      await this.#play();
    }
  }

  async playSpan(start, end) {
    this.#moveTo(start);
    this.#stopAt = end;
    await this.#play();
  }

  async listenTo(side, channel = this.channel) {
    if (side === this.side && channel === this.channel) return;
    const playing = this.playing;
    this.#time = this.time;
    this.side = side;
    this.channel = channel;
    if (this.#media.src !== '') this.#load();
    if (playing) await this.#play();
    this.#tick();
  }

  // What is played, in dB above what is stored.
  amplify(decibels) {
    this.#factor = 10 ** (decibels / 20);
    if (this.#factor !== 1 && !this.#amplifier) {
      const context = new AudioContext();
      this.#amplifier = context.createGain();
      context.createMediaElementSource(this.#media).connect(this.#amplifier).connect(context.destination);
    }
    if (this.#amplifier) this.#amplifier.gain.value = this.#factor;
  }

  #moveTo(time) {
    this.#time = Math.min(Math.max(time, 0), this.report.seconds);
    if (this.#loaded) this.#media.currentTime = this.#time;
    this.#tick();
  }

  #load() {
    this.#loaded = false;
    const sound = this.channel.sound(this.side);
    if (!this.#urls.has(sound)) this.#urls.set(sound, URL.createObjectURL(sound));
    this.#media.src = this.#urls.get(sound);
  }

  async #play() {
    if (!this.hasSound) return;
    if (this.#media.src === '') this.#load();
    try {
      await Promise.all([this.#amplifier?.context.resume(), this.#media.play()]);
    } catch (error) {
      if (error.name !== 'AbortError') throw error; // paused, or another sound chosen, before it began
    }
  }

  #follow() {
    this.#tick();
    if (this.playing) requestAnimationFrame(() => this.#follow());
  }

  #tick() {
    if (this.#loaded) {
      if (this.playing && this.#media.currentTime >= this.#stopAt) {
        this.#media.pause();
        this.#media.currentTime = this.#stopAt;
        this.#stopAt = Infinity;
      }
      this.#time = this.#media.currentTime;
    }
    for (const listener of this.#listeners) listener();
  }
}
