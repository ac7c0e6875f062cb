// Compiled with strict types in a folder where the package is installed.
import {load, type EventKind, type Hearing, type StreamEvent, type Vask} from 'libvask';
import {load as loadInline, loadSync} from 'libvask/inline';
import {VaskNode} from 'libvask/audio-node';

async function main(context: AudioContext): Promise<EventKind[]> {
  const vask: Vask = await load({simd: true});
  const other: Vask = (await loadInline()) ?? loadSync();
  const stream = vask.open({detector: 'learned', inputRate: 48000, mayEndAfter: 0.2});
  // @ts-expect-error: not one of the nine rates
  other.open({inputRate: 96000});
  // @ts-expect-error: not an option
  other.open({rate: 48000});
  const kinds: EventKind[] = [];
  for (const event of stream.write(new Float32Array(480))) kinds.push(event.kind);
  const hearing: Hearing | null = stream.hear();
  const last: StreamEvent[] = stream.close();
  const node = await VaskNode.create(context, {stream: {audio: 'none'}, measureEvery: 0.05});
  node.onevent = ({audio, reason}) => console.log(audio.length, reason ?? '', hearing?.speech, last.length);
  return kinds;
}
void main;
