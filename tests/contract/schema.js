// SPDX-License-Identifier: MIT
// The GraphQL schema that GitHub publishes.
import { schema as github } from '@octokit/graphql-schema';
import { buildSchema } from 'graphql';

// The published text defines two fields of an enterprise twice, which are not used here.
export const schema = buildSchema(github.idl, { assumeValidSDL: true });
