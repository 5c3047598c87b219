// SPDX-License-Identifier: MIT
// Compares the device flow and the refresh of tokens with the documented answers.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { clientID, Simulator } from './simulator.js';

const deviceGrant = 'urn:ietf:params:oauth:grant-type:device_code';

let simulator;
before(async () => { simulator = await Simulator.start('--no-story'); });
after(() => simulator.stop());

const later = (advanceSeconds) => simulator.control('clock', { advanceSeconds });

async function post(path, values, headers) {
  const response = await simulator.form(path, values, headers);
  return { response, body: await response.json() };
}

async function begin() {
  return (await post('/login/device/code', { client_id: clientID })).body;
}

async function token(values) {
  const { response, body } = await post('/login/oauth/access_token', { client_id: clientID, ...values });
  assert.equal(response.status, 200, 'answers of this address are 200 even when they are errors');
  return body;
}

const poll = (code) => token({ device_code: code.device_code, grant_type: deviceGrant });
const refresh = (refreshToken) => token({ refresh_token: refreshToken, grant_type: 'refresh_token' });

function assertFailure(body, error, more = []) {
  assert.equal(body.error, error);
  assert.deepEqual(Object.keys(body).sort(), ['error', 'error_description', 'error_uri', ...more].sort());
}

async function connect(login) {
  const code = await begin();
  await simulator.control('approve', { userCode: code.user_code, login });
  return poll(code);
}

test('a device code has the documented fields', async () => {
  const code = await begin();
  assert.deepEqual(Object.keys(code).sort(), ['device_code', 'expires_in', 'interval', 'user_code', 'verification_uri']);
  assert.match(code.device_code, /^[0-9a-f]{40}$/);
  assert.match(code.user_code, /^[A-Z]{4}-[A-Z]{4}$/);
  assert.equal(code.expires_in, 900);
  assert.equal(code.interval, 5);
  const page = await fetch(code.verification_uri);
  assert.match(await page.text(), /Demo/);
});

test('without asking for JSON the answers are forms', async () => {
  const response = await simulator.form('/login/device/code', { client_id: clientID }, {});
  assert.match(response.headers.get('content-type'), /^application\/x-www-form-urlencoded/);
  const form = new URLSearchParams(await response.text());
  assert.equal(form.get('interval'), '5');
  assert.match(form.get('verification_uri'), /\/login\/device$/);
});

test('an unknown App is not found, and has no tokens', async () => {
  const { response, body } = await post('/login/device/code', { client_id: 'Iv1.nobody' });
  assert.equal(response.status, 404);
  assert.deepEqual(body, { error: 'Not Found' });
  assertFailure(await token({ client_id: 'Iv1.nobody', grant_type: deviceGrant }), 'incorrect_client_credentials');
});

test('polling: pending, slower and slower, then the token, once', async () => {
  const code = await begin();
  assertFailure(await poll(code), 'authorization_pending');
  const slower = await poll(code);
  assertFailure(slower, 'slow_down', ['interval']);
  assert.equal(slower.interval, 10);
  await later(7);
  assert.equal((await poll(code)).interval, 15);
  await later(15);
  assertFailure(await poll(code), 'authorization_pending');
  await simulator.control('approve', { userCode: code.user_code, login: 'mira-oakes' });
  await later(15);
  const granted = await poll(code);
  assert.deepEqual(Object.keys(granted).sort(),
    ['access_token', 'expires_in', 'refresh_token', 'refresh_token_expires_in', 'scope', 'token_type']);
  assert.match(granted.access_token, /^ghu_/);
  assert.match(granted.refresh_token, /^ghr_/);
  assert.equal(granted.expires_in, 28800);
  assert.equal(granted.refresh_token_expires_in, 15811200);
  assert.equal(granted.token_type, 'bearer');
  assert.equal(granted.scope, '');
  assert.equal((await (await simulator.get('/user', granted.access_token)).json()).login, 'mira-oakes');
  assertFailure(await poll(code), 'incorrect_device_code');
});

test('a code may be denied or expire', async () => {
  const denied = await begin();
  await simulator.control('deny', { userCode: denied.user_code });
  assertFailure(await poll(denied), 'access_denied');
  const expired = await begin();
  await simulator.control('expire', { userCode: expired.user_code });
  assertFailure(await poll(expired), 'expired_token');
  const old = await begin();
  await later(900);
  assertFailure(await poll(old), 'expired_token');
  assertFailure(await poll({ device_code: 'nothing' }), 'incorrect_device_code');
});

test('a refresh token works once and ends both old tokens', async () => {
  const first = await connect('tobias-renn');
  const second = await refresh(first.refresh_token);
  assert.notEqual(second.access_token, first.access_token);
  assert.equal((await simulator.get('/user', first.access_token)).status, 401);
  assert.equal((await simulator.get('/user', second.access_token)).status, 200);
  assertFailure(await refresh(first.refresh_token), 'bad_refresh_token');
  await later(28800);
  assert.equal((await simulator.get('/user', second.access_token)).status, 401);
  assert.match((await refresh(second.refresh_token)).access_token, /^ghu_/);
});

test('a refresh token expires, and revoking ends all', async () => {
  const first = await connect('tobias-renn');
  await later(15811200);
  assertFailure(await refresh(first.refresh_token), 'bad_refresh_token');
  const second = await connect('tobias-renn');
  await simulator.control('revoke', { login: 'tobias-renn' });
  assert.equal((await simulator.get('/user', second.access_token)).status, 401);
  assertFailure(await refresh(second.refresh_token), 'bad_refresh_token');
});

test('an unknown grant is refused', async () => {
  assertFailure(await token({ grant_type: 'password' }), 'unsupported_grant_type');
});

test('without expiry there is only an access token', async () => {
  await simulator.control('tokens', { expire: false });
  const granted = await connect('mira-oakes');
  assert.deepEqual(Object.keys(granted).sort(), ['access_token', 'scope', 'token_type']);
  await simulator.control('tokens', { expire: true });
});
