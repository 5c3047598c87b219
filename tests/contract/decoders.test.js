// SPDX-License-Identifier: MIT
// Feeds GitHub's published examples and the simulator's answers to Velmora's decoders.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { examples, paths } from './openapi.js';
import { Simulator, velmoraDecode } from './simulator.js';

const pick = (object, keys) => Object.fromEntries(keys.filter((key) => object[key] != null).map((key) => [key, object[key]]));

/** The fields that Velmora keeps of each kind of answer. */
const kept = {
  user: (body) => pick(body, ['id', 'login', 'avatar_url']),
  installations: ({ installations }) => ({
    installations: installations.map((installation) => ({
      id: installation.id,
      account: pick(installation.account, ['id', 'login', 'avatar_url', 'type']),
      repository_selection: installation.repository_selection,
    })),
  }),
  repositories: ({ repositories }) => ({
    repositories: repositories.map((repository) => pick(repository, ['id', 'node_id', 'full_name', 'html_url', 'private'])),
  }),
};

const decode = (kind, body) => JSON.parse(velmoraDecode(kind, JSON.stringify(body)));

// All published examples of these kinds have the required fields. There is no list of exceptions, so that a new example
// without them fails and gets attention.
for (const kind of Object.keys(kept)) {
  const published = Object.entries(examples(paths[kind]));
  test(`GitHub publishes an example for ${paths[kind]}`, () => assert.ok(published.length > 0));
  for (const [name, body] of published)
    test(`${paths[kind]}: the example “${name}” is decoded`, () => assert.deepEqual(decode(kind, body), kept[kind](body)));
}

let simulator, token;
before(async () => {
  simulator = await Simulator.start('--no-story');
  token = await simulator.token((await simulator.world()).identities[0]);
});
after(() => simulator.stop());

test('what the stand-in answers is decoded', async () => {
  const fetchJSON = async (path) => (await simulator.get(path, token)).json();
  const user = await fetchJSON('/user');
  assert.deepEqual(decode('user', user), kept.user(user));
  const list = await fetchJSON('/user/installations?per_page=100&page=1');
  assert.deepEqual(decode('installations', list), kept.installations(list));
  const repositories = await fetchJSON(`/user/installations/${list.installations[0].id}/repositories`);
  assert.deepEqual(decode('repositories', repositories), kept.repositories(repositories));
});

// GitHub's description allows an installation without an account, or of an enterprise, which has no login. Velmora
// requires both and refuses the whole answer; this test documents that.
for (const account of ['null', 'enterprise']) {
  test(`an installation whose account is ${account} is refused`, async () => {
    const { id } = (await simulator.world()).installations[0];
    await simulator.control('world', { installation: { id, account } });
    const list = await (await simulator.get('/user/installations', token)).json();
    assert.throws(() => velmoraDecode('installations', JSON.stringify(list)), (error) => error.message.length > 0);
    await simulator.control('world', { installation: { id, account: 'ordinary' } });
  });
}
