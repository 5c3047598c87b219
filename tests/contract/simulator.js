// SPDX-License-Identifier: MIT
// Starts the simulator on a free port and sends requests to it.
import { spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import path from 'node:path';
import readline from 'node:readline';

const bin = process.env.VELMORA_BIN;
if (!bin)
  throw new Error('VELMORA_BIN names the directory of the programs');

export const clientID = 'Iv23liVelmoraDemo001';
export const apiVersions = ['2022-11-28', '2026-03-10'];

/** Runs velmora-decode and returns its output; throws its message if it refuses the input. */
export function velmoraDecode(kind, input = '') {
  const run = spawnSync(path.join(bin, 'velmora-decode'), [kind], { input, encoding: 'utf8' });
  if (run.status !== 0)
    throw new Error(run.stderr.trim() || `ended with ${run.status ?? run.error ?? run.signal}`);
  return run.stdout;
}

export class Simulator {
  /** Starts a process that ends with the test, when its standard input closes. */
  static async start(...options) {
    const simulator = new Simulator();
    simulator.process = spawn(
      path.join(bin, 'velmora-simulator'), ['--exit-with-stdin', ...options], { stdio: ['pipe', 'pipe', 'inherit'] });
    const [line] = await once(readline.createInterface({ input: simulator.process.stdout }), 'line');
    simulator.url = line.match(/^listening on (http:\/\/127\.0\.0\.1:\d+)$/)[1];
    return simulator;
  }

  async stop() {
    this.process.stdin.end();
    if (this.process.exitCode === null)
      await once(this.process, 'exit');
  }

  async control(what, body = {}) {
    const response = await fetch(`${this.url}/_control/${what}`, { method: 'POST', body: JSON.stringify(body) });
    const answer = await response.json();
    if (!response.ok)
      throw new Error(`${what}: ${answer.error}`);
    return answer;
  }

  async world() {
    return (await fetch(`${this.url}/_control/world`)).json();
  }

  async token(login) {
    return (await this.control('token', { login })).accessToken;
  }

  get(path_, token, version = '2026-03-10', headers = {}) {
    return fetch(this.url + path_, {
      headers: {
        Authorization: `Bearer ${token}`,
        Accept: 'application/vnd.github+json',
        'X-GitHub-Api-Version': version,
        ...headers,
      },
    });
  }

  graphql(body, token) {
    return fetch(`${this.url}/graphql`, {
      method: 'POST',
      headers: { Authorization: `Bearer ${token}`, 'Content-Type': 'application/json' },
      body: typeof body === 'string' ? body : JSON.stringify(body),
    });
  }

  form(path_, values, headers = { Accept: 'application/json' }) {
    return fetch(this.url + path_, { method: 'POST', headers, body: new URLSearchParams(values) });
  }
}
